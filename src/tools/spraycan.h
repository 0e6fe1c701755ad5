// The spray can: single pixels scattered inside a disc.
//
// Each spot is drawn anew by taking pixels at random, without repetition, from
// a list of the disc's pixels. Held still, the spray goes on by a timer and the
// working list shrinks, so the spot fills up evenly instead of piling onto the
// same pixels; along a path the list is renewed at every pixel. Spots are laid
// with the coverage rule of the stamp tools: a pixel ends at the strongest spot
// value that touched it during the stroke, blended from the pixel as it was.
#pragma once

#include <cstdint>
#include <memory>

#include "frame/blockset.h"
#include "image/dib.h"
#include "tools/toolsession.h"

namespace ochrel {

inline constexpr int kSprayTimer = 3;
inline constexpr int kSprayPeriod = 100;       // milliseconds
inline constexpr int kMaxSprayDiameter = 255;  // one byte per coordinate

// A pixel list: a header of four ints, then `total` 16-bit entries, x in the
// low byte and y in the high byte.
struct SPRAYLIST {
  std::int32_t remaining;  // entries not yet drawn
  std::int32_t total;      // entries at the start
  std::int32_t width;      // the disc's diameter
  std::int32_t height;
};
SPRAYLIST* LockSprayList(const HGLOBAL& list);
std::uint16_t* SprayEntries(SPRAYLIST* list);

// The full list of a disc `diameter` pixels across (at most 255): every pixel
// whose centre lies in the circle inscribed in the square. Null when the disc
// has no pixel or memory runs out. It also seeds the random generator from
// the clock.
HGLOBAL CreateSpraycan(int diameter);

// One spot: an 8-bit grey DIB of the list's size filled with `background`,
// with total * flow / 100 entries drawn from the list at random (fewer once it
// runs dry) set to `foreground`. The drawn entries leave the list. Null when
// the list is missing or memory runs out.
HDIB RenderSpraycan(const HGLOBAL& list, std::uint32_t foreground, std::uint32_t background, int flow);

// One spray stroke on a document: a spot at a time, with the coverage rule
// on every kind of image (on paletted and mono images the blend works on
// index values). Points are view points in image pixels (unzoomed); the
// scroll position given at the press is added to each of them.
class SprayStroke {
 public:
  explicit SprayStroke(BLOCKSET& document) : doc_(document) {}
  // False when the image is missing or the buffers can't be made.
  bool Press(std::uint32_t colour, POINT scroll);
  // Lays the spot with its top left at (x - w / 2, y - h / 2); the image
  // rectangle that may have changed (empty when nothing did).
  RECT Lay(const HDIB& spot, POINT at);
  void Release();
  bool Painting() const { return painting_; }

 private:
  BLOCKSET& doc_;
  bool painting_ = false;
  std::uint32_t colour_ = 0;
  POINT scroll_{};
  const MemBlock* image_ = nullptr;
  int width_ = 0, height_ = 0;
  HGLOBAL coverage_;  // one byte per pixel, rows top-down
  HGLOBAL copy_;      // the pixel value at the press, taken when first covered
};

class SpraycanTool : public ToolSession {
 public:
  SpraycanTool() : ToolSession(TOOL_SPRAYCAN) {}
  ~SpraycanTool() override;
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override;
  void OnTimer(int id) override;

  bool Painting() const { return painting_ != 0; }
  const HGLOBAL& SprayTemplate() const { return sprayTemplate_; }
  const HGLOBAL& SprayList() const { return sprayList_; }

  // One spot at a tool-window point; 0 when it can't be laid.
  int DrawSpraycan(int x, int y);
  // Spots along the line, both ends included, each with the whole disc.
  void DrawSpraycanLine(int x0, int y0, int x1, int y1);

 private:
  POINT Unzoomed(int x, int y) const;
  void StopTimer();
  HGLOBAL sprayTemplate_, sprayList_;
  std::unique_ptr<SprayStroke> stroke_;
  int lastX_ = 0, lastY_ = 0;                // the last spot (client coordinates)
  int pressScrollX_ = 0, pressScrollY_ = 0;  // the scroll at the press
  int painting_ = 0;
  unsigned timer_ = 0;
  POINT cursor_{};
};

}  // namespace ochrel
