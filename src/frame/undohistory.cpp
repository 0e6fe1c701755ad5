#include "frame/undohistory.h"

#include <algorithm>
#include <cstring>

#include <unistd.h>

#include "frame/blockset.h"

namespace ochrel {

namespace {

bool SameShape(const BITMAPINFOHEADER* a, const BITMAPINFOHEADER* b) {
  if (!a || !b || a->biWidth != b->biWidth || a->biHeight != b->biHeight || a->biBitCount != b->biBitCount)
    return false;
  const std::size_t palette = DibPaletteSize(a->biBitCount);
  return palette == 0 || std::memcmp(DibPaletteEntries(a), DibPaletteEntries(b), palette) == 0;
}

// Puts `piece` into `image` with its top left at (x, y); both of one depth.
void PutPiece(BITMAPINFOHEADER* image, const BITMAPINFOHEADER* piece, int x, int y) {
  const int bits = image->biBitCount;
  for (int j = 0; j < piece->biHeight; ++j) {
    if (bits % 8 == 0) {
      const std::size_t bytes = static_cast<std::size_t>(bits / 8);
      std::memcpy(DibRow(image, y + j) + bytes * static_cast<std::size_t>(x), DibRow(piece, j),
                  bytes * static_cast<std::size_t>(piece->biWidth));
    } else {
      for (int i = 0; i < piece->biWidth; ++i) PutDibPixel(image, x + i, y + j, GetDibPixel(piece, i, j));
    }
  }
}

UNDOSTATE StateOf(const BLOCKSET* r) {
  return UNDOSTATE{r->Modified, r->Tool, r->PaintColour, r->FillColour, r->PaperColour};
}

void Restore(BLOCKSET* r, const UNDOSTATE& s) {
  r->Modified = s.Modified;
  r->Tool = s.Tool;
  r->PaintColour = s.PaintColour;
  r->FillColour = s.FillColour;
  r->PaperColour = s.PaperColour;
}

// Exchanges the step with what the record holds there; the step then holds
// the record's side. False (and nothing changed) when memory runs out.
bool Swap(BLOCKSET* r, UndoStep* step) {
  UNDOSTATE state = StateOf(r);
  if (step->whole) {
    std::swap(r->Image, step->pixels);
  } else {
    BITMAPINFOHEADER* image = LockDib(r->Image);
    const BITMAPINFOHEADER* piece = LockDib(step->pixels);
    if (!image || !piece || piece->biBitCount != image->biBitCount) return false;
    HDIB other = CropImage(r->Image, step->rect);
    if (!other) return false;
    PutPiece(image, piece, step->rect.left, step->rect.top);
    step->pixels = std::move(other);
  }
  Restore(r, step->state);
  step->state = state;
  return true;
}

}  // namespace

bool ChangedRect(const BITMAPINFOHEADER* a, const BITMAPINFOHEADER* b, RECT* rect) {
  *rect = RECT{};
  if (!SameShape(a, b)) return false;
  const int w = a->biWidth, h = a->biHeight, bits = a->biBitCount;
  const std::size_t used = (static_cast<std::size_t>(w) * static_cast<std::size_t>(bits) + 7) / 8;
  int top = -1, bottom = -1;
  std::size_t first = used, last = 0;
  for (int y = 0; y < h; ++y) {
    const BYTE *ra = DibRow(a, y), *rb = DibRow(b, y);
    if (std::memcmp(ra, rb, used) == 0) continue;
    if (top < 0) top = y;
    bottom = y;
    std::size_t i = 0;
    while (i < first && ra[i] == rb[i]) ++i;
    first = std::min(first, i);
    std::size_t k = used;
    while (k > last + 1 && ra[k - 1] == rb[k - 1]) --k;
    last = std::max(last, k - 1);
  }
  if (top < 0) return true;
  const int x0 = static_cast<int>(first * 8 / static_cast<std::size_t>(bits));
  const int x1 = std::min(
      w, static_cast<int>(((last + 1) * 8 + static_cast<std::size_t>(bits) - 1) / static_cast<std::size_t>(bits)));
  *rect = RECT{x0, top, x1, bottom + 1};
  return true;
}

bool UndoHistory::Record(HDIB before, const UNDOSTATE& state, const HDIB& image) {
  UndoStep step;
  step.state = state;
  RECT changed{};
  bool ok = true;
  if (ChangedRect(LockDib(before), LockDib(image), &changed)) {
    if (changed.right <= changed.left) return true;  // nothing changed: no step
    const BITMAPINFOHEADER* b = LockDib(before);
    const long long area = static_cast<long long>(changed.right - changed.left) * (changed.bottom - changed.top);
    // A change over most of the picture (a filter) keeps the copy as it is:
    // little more memory, and Undo becomes an exchange of blocks.
    if (area * 4 < static_cast<long long>(b->biWidth) * b->biHeight * 3) {
      step.rect = changed;
      step.pixels = CropImage(before, changed);
      if (!step.pixels) ok = false;
    }
  }
  if (!step.pixels) {
    step.whole = true;
    step.pixels = std::move(before);
  }
  // A new change drops the steps ahead of it.
  redo_.clear();
  done_.push_back(std::move(step));
  return ok;
}

bool UndoHistory::Undo(BLOCKSET* r) {
  if (done_.empty() || !Swap(r, &done_.back())) return false;
  redo_.push_back(std::move(done_.back()));
  done_.pop_back();
  return true;
}

bool UndoHistory::Redo(BLOCKSET* r) {
  if (redo_.empty() || !Swap(r, &redo_.back())) return false;
  done_.push_back(std::move(redo_.back()));
  redo_.pop_back();
  return true;
}

HDIB UndoHistory::TakeLast(const HDIB& image, UNDOSTATE* state) {
  if (done_.empty()) return nullptr;
  UndoStep& step = done_.back();
  HDIB out;
  if (step.whole) {
    out = std::move(step.pixels);
  } else {
    out = DuplicateObject(image);
    BITMAPINFOHEADER* o = LockDib(out);
    const BITMAPINFOHEADER* piece = LockDib(step.pixels);
    if (!o || !piece || piece->biBitCount != o->biBitCount) return nullptr;
    PutPiece(o, piece, step.rect.left, step.rect.top);
  }
  *state = step.state;
  done_.pop_back();
  return out;
}

std::size_t UndoHistory::Bytes() const {
  std::size_t n = 0;
  for (const UndoStep& s : done_) n += s.Bytes();
  for (const UndoStep& s : redo_) n += s.Bytes();
  return n;
}

void UndoHistory::Trim(std::size_t steps, std::size_t budget) {
  while (done_.size() > steps) done_.pop_front();
  while (redo_.size() > steps) redo_.erase(redo_.begin());
  // Over the budget the oldest go first: the far end of Redo, then the far end of Undo.
  while (Bytes() > budget && !redo_.empty()) redo_.erase(redo_.begin());
  while (Bytes() > budget && !done_.empty()) done_.pop_front();
}

std::size_t DefaultUndoBudget() {
  const long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGESIZE);
  const std::size_t cap = std::size_t{2} << 30;
  if (pages <= 0 || size <= 0) return cap;
  return std::min(cap, static_cast<std::size_t>(pages) * static_cast<std::size_t>(size) / 4);
}

}  // namespace ochrel
