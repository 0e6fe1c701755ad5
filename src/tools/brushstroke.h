// The stroke engine of the freehand tools: stamps laid one pixel apart along
// the mouse path, straight into the document's image.
//
// What holds a stroke together is its coverage: each image pixel remembers the
// strongest stamp value that touched it during the stroke, and a stamp changes
// a pixel only where it is stronger. The blend then starts again from the pixel
// as it was at the press, so overlapping stamps never build up: a stroke at
// half opacity stays at half strength however often it crosses itself.
//
// On paletted and mono images there is neither blending nor coverage: a stamp
// value of 128 or more sets the pixel to the colour, anything less leaves it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <optional>

#include "frame/blockset.h"
#include "image/dib.h"

namespace ochrel {

// The colour value a tool's strokes paint with, a pixel value of the image:
// the eraser paints the paper colour, every other brush the paint colour.
std::uint32_t GetBrushColour(const BLOCKSET& document);

// The coverage blend of one 8-bit channel: old c, new k, mask m.
constexpr int CoverageBlend(int c, int k, int m) { return ((c * (255 - m)) / 255 + (k * m) / 255) & 255; }

// Calls stamp(x, y) for every point of the line from a to b, both ends
// included. Vertical and horizontal lines run in the direction of travel;
// others run along their major axis from the lower end, the minor axis
// stepping whenever the error reaches the major delta. The stepping is shared
// by every tool that paints along the mouse path.
template <class Stamp>
void StepBrushLine(POINT a, POINT b, Stamp&& stamp) {
  if (a.x == b.x) {
    const int s = b.y >= a.y ? 1 : -1;
    for (int y = a.y;; y += s) {
      stamp(a.x, y);
      if (y == b.y) break;
    }
    return;
  }
  if (a.y == b.y) {
    const int s = b.x >= a.x ? 1 : -1;
    for (int x = a.x;; x += s) {
      stamp(x, a.y);
      if (x == b.x) break;
    }
    return;
  }
  const long long dx = std::llabs(static_cast<long long>(b.x) - a.x);
  const long long dy = std::llabs(static_cast<long long>(b.y) - a.y);
  if (dy <= dx) {
    if (a.x > b.x) std::swap(a, b);
    const int s = b.y > a.y ? 1 : -1;
    long long err = 0;
    int y = a.y;
    for (int x = a.x;; ++x) {
      if (err >= dx) {
        err -= dx;
        y += s;
      }
      stamp(x, y);
      err += dy;
      if (x == b.x) break;
    }
  } else {
    if (a.y > b.y) std::swap(a, b);
    const int s = b.x > a.x ? 1 : -1;
    long long err = 0;
    int x = a.x;
    for (int y = a.y;; ++y) {
      if (err >= dy) {
        err -= dy;
        x += s;
      }
      stamp(x, y);
      err += dx;
      if (y == b.y) break;
    }
  }
}

// One stroke on a document. The tool session owns it for as long as the tool
// stands; buffers live from Press to Release. Points are view points in image
// pixels (unzoomed); the scroll position given at the press is added to every
// point of the stroke, since the view doesn't scroll during a stroke.
//
// Every step returns the image rectangle (right and bottom exclusive) that may
// have changed, for the view to redraw; an empty rectangle when nothing did.
class BrushStroke {
 public:
  // `stamp` is read at every stamp, so a stamp rebuilt in its slot during the
  // stroke (the airbrush's swelling dab) paints from then on. The document and
  // the slot must outlive the stroke.
  BrushStroke(BLOCKSET& document, const HDIB& stamp);
  ~BrushStroke();
  BrushStroke(const BrushStroke&) = delete;
  BrushStroke& operator=(const BrushStroke&) = delete;

  // The colour as a pixel value of the image. Without a call, the press takes
  // GetBrushColour of the document.
  void SetColour(std::uint32_t value);

  // Starts the stroke and lays the first stamp at `at`. Null when the image or
  // the stamp is missing or the stroke's buffers can't be made: a "Memory
  // error" for the session, with the image untouched. The session takes the
  // undo copy first; the stroke keeps no copy of the whole image, only of the
  // pixels it covers, taken as it first covers them.
  std::optional<RECT> Press(POINT at, POINT scroll = {});
  // Stamps every pixel of the line from the last point to `to` (both ends)
  // and makes `to` the last point. Nothing while no stroke is under way.
  RECT LineTo(POINT to) {
    const RECT r = DrawSoftBrushLine(last_, to);
    if (painting_) last_ = to;
    return r;
  }
  // A line of stamps from a to b, both ends included; the last point stays.
  RECT DrawSoftBrushLine(POINT a, POINT b);
  // One stamp at `at`, the last point unchanged (the airbrush's dab).
  RECT DrawSoftBrush(POINT at);
  // Ends the stroke and lets the buffers go. The image keeps what it has.
  RECT Release();

  bool Painting() const { return painting_; }
  POINT LastPoint() const { return last_; }
  std::uint32_t Colour() const { return colour_; }

 private:
  void StampAt(int x, int y, RECT& changed);

  BLOCKSET& doc_;
  const HDIB* stamp_;
  bool painting_ = false;
  bool colourSet_ = false;
  std::uint32_t colour_ = 0;
  POINT last_{}, scroll_{};

  // The image as it was bound at the press; a stamp checks it is still the one.
  const MemBlock* image_ = nullptr;
  int width_ = 0, height_ = 0, bits_ = 0;
  bool blend_ = false;        // true colour or grey: coverage blend; else the 128 rule
  HGLOBAL coverage_;          // width x height bytes, rows top-down, all 0 at the press
  HGLOBAL copy_;              // the image's pixel rows as at the press, filled on first touch
  int kTerm_[3][256] = {};    // k * m / 255 of the colour's channels, in stored byte order
};

}  // namespace ochrel
