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
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>

#include "image/colourblend.h"
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
//
// With `clip` (right and bottom exclusive), points whose major coordinate lies
// outside it are skipped without being walked, and so is a straight line lying
// wholly outside it; the others come exactly where the full walk puts them. A
// wild end point then costs no more than the clip is wide.
template <class Stamp>
void StepBrushLine(POINT a, POINT b, Stamp&& stamp, const RECT* clip = nullptr) {
  using I = long long;
  const I lo = std::numeric_limits<I>::min() / 4, hi = std::numeric_limits<I>::max() / 4;
  const I cl = clip ? clip->left : lo, cr = clip ? I{clip->right} - 1 : hi;
  const I ct = clip ? clip->top : lo, cb = clip ? I{clip->bottom} - 1 : hi;
  if (a.x == b.x || a.y == b.y) {
    if (a.x == b.x && (a.x < cl || a.x > cr)) return;
    if (a.y == b.y && a.x != b.x && (a.y < ct || a.y > cb)) return;
    const bool vertical = a.x == b.x;
    const I from = vertical ? a.y : a.x, to = vertical ? b.y : b.x;
    const I s = to >= from ? 1 : -1;
    const I first = vertical ? ct : cl, last = vertical ? cb : cr;
    // The run from `from` to `to`, cut to [first, last], in the direction of travel.
    I start = from, end = to;
    if (s > 0) {
      start = std::max(from, first);
      end = std::min(to, last);
      if (start > end) return;
    } else {
      start = std::min(from, last);
      end = std::max(to, first);
      if (start < end) return;
    }
    for (I v = start;; v += s) {
      if (vertical) stamp(a.x, static_cast<int>(v));
      else stamp(static_cast<int>(v), a.y);
      if (v == end) break;
    }
    return;
  }
  const I dx = I{b.x} - a.x < 0 ? I{a.x} - b.x : I{b.x} - a.x;
  const I dy = I{b.y} - a.y < 0 ? I{a.y} - b.y : I{b.y} - a.y;
  const bool xMajor = dy <= dx;
  if (xMajor ? a.x > b.x : a.y > b.y) std::swap(a, b);
  const I major0 = xMajor ? a.x : a.y, minor0 = xMajor ? a.y : a.x;
  const I minorEnd = xMajor ? b.y : b.x;
  const I dMajor = xMajor ? dx : dy, dMinor = xMajor ? dy : dx;
  const I s = minorEnd > minor0 ? 1 : -1;
  // Steps k = 0 .. dMajor; the minor offset after k steps is k * dMinor / dMajor.
  const I k0 = std::max<I>(0, (xMajor ? cl : ct) - major0);
  const I k1 = std::min<I>(dMajor, (xMajor ? cr : cb) - major0);
  if (k0 > k1) return;
  const __int128 product = static_cast<__int128>(k0) * dMinor;
  I steps = static_cast<I>(product / dMajor);
  I err = static_cast<I>(product - static_cast<__int128>(steps) * dMajor);
  for (I k = k0;; ++k) {
    if (err >= dMajor) {
      err -= dMajor;
      ++steps;
    }
    const I major = major0 + k, minor = minor0 + s * steps;
    if (xMajor) stamp(static_cast<int>(major), static_cast<int>(minor));
    else stamp(static_cast<int>(minor), static_cast<int>(major));
    err += dMinor;
    if (k == k1) break;
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
  bool blend_ = false;      // true colour or grey: coverage blend; else the 128 rule
  HGLOBAL coverage_;        // width x height bytes, rows top-down, all 0 at the press
  HGLOBAL copy_;            // the image's pixel rows as at the press, filled on first touch
  int kTerm_[3][256] = {};  // k * m / 255 of the colour's channels, in stored byte order
};

}  // namespace ochrel
