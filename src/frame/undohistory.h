// Undo beyond one level: a history of steps that Undo walks back and Redo
// walks forward, each holding only the part of the picture its change touched.
//
// It works behind the one-level copy: CreateUndo still copies the whole image
// before a change, as the tools expect; when the next change begins (or at
// the end of a stroke, or at Undo) that copy is compared with the image and
// only the rectangle that differs is kept, so a brush stroke costs its box, and
// an operation that replaced the picture (a new size or depth) costs a whole
// image. Steps beyond the count or the memory budget are dropped, oldest first.
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "image/dib.h"

namespace ochrel {

struct BLOCKSET;

// The record's fields an Undo puts back besides the pixels.
struct UNDOSTATE {
  int Modified = 0, Tool = 0;
  COLORREF PaintColour = 0, FillColour = 0, PaperColour = 0;
};

struct UndoStep {
  bool whole = false;  // `pixels` is a whole image block, else the rectangle's pixels
  RECT rect{};
  HDIB pixels;      // what the other side of the step holds there
  UNDOSTATE state;  // the record's fields on that side
  std::size_t Bytes() const { return pixels ? pixels->size() : 0; }
};

class UndoHistory {
 public:
  // Turns a full copy taken before a change into a step against `image`;
  // no step when nothing differs. False when memory ran out (the copy is
  // then kept whole as the step).
  bool Record(HDIB before, const UNDOSTATE& state, const HDIB& image);
  // Walks one step back or forward: the step's pixels and state go into the
  // record and what they replace is kept for the other way. False when there
  // is no step or memory runs out (the record then stays as it was).
  bool Undo(BLOCKSET* record);
  bool Redo(BLOCKSET* record);
  // The most recent step taken back out, as a full image of the picture
  // before it with its state (for a tool that paints from it); null if none.
  HDIB TakeLast(const HDIB& image, UNDOSTATE* state);
  void DropRedo() { redo_.clear(); }
  void Clear() {
    done_.clear();
    redo_.clear();
  }
  // Keeps at most `steps` steps and `budget` bytes, dropping the oldest.
  void Trim(std::size_t steps, std::size_t budget);
  std::size_t UndoCount() const { return done_.size(); }
  std::size_t RedoCount() const { return redo_.size(); }
  std::size_t Bytes() const;

 private:
  std::deque<UndoStep> done_;
  std::vector<UndoStep> redo_;
};

// The smallest rectangle where two images of one size, depth and palette
// differ (empty when they are the same); false when they can't be compared
// that way (then the whole picture counts as changed).
bool ChangedRect(const BITMAPINFOHEADER* a, const BITMAPINFOHEADER* b, RECT* rect);

// The budget when the setting leaves it at 0: a quarter of the memory, at most 2 GiB.
std::size_t DefaultUndoBudget();

}  // namespace ochrel
