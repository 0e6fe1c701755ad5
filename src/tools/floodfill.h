// The flood fill: a press finds the connected region of pixels close to the
// pressed one and paints it with a colour or a fill source.
//
// The seed fill only collects an 8-bit coverage mask; the mask then goes
// through the same coverage blend as every other tool, so tolerance,
// antialiasing, opacity and fill type stay independent of each other. The
// pieces are plain functions over an image and a document record, because the
// magic wand and the colour replacer use the same matching and seed fill.
#pragma once

#include <cstdint>

#include "frame/blockset.h"
#include "image/dib.h"
#include "tools/toolsession.h"

namespace ochrel {

// Entries of the seed fill's span stack: FloodFillStackSize held to 512..16384.
inline constexpr int kMinFloodFillStack = 512;
inline constexpr int kMaxFloodFillStack = 16384;
int GetFloodFillStackSize();

// Non-zero if pixel values a and b count as alike under the record's
// tolerances, for an image of the given type. Strict: a tolerance of 0 makes
// nothing alike, not even a value and itself. -1 is never alike to anything.
int MatchPixel(const BITMAPINFOHEADER* image, const BLOCKSET* blockset, std::uint32_t a, std::uint32_t b,
               int imageType);

// A value that surely differs from `value` in the record's image.
std::uint32_t NotColour(const BLOCKSET* blockset, std::uint32_t value);

// The coverage the seed fill writes into its mask for the record's image type:
// the opacity on true colour and grey, full on paletted and mono.
std::uint32_t BucketFillCoverage(const BLOCKSET* blockset);

// The scan-line seed fill with an explicit, bounded stack of spans. Pixels of
// `image` 4-connected to (x, y) and alike to `oldValue` are marked with
// `newValue` in the image and with the coverage in `mask` (any depth, the size
// of the image). When the stack is full further spans are dropped and part of
// the region stays unfilled. Nothing happens when the pixel at (x, y) is alike
// to `newValue` or lies outside the image.
void BucketFill(BITMAPINFOHEADER* image, BITMAPINFOHEADER* mask, const BLOCKSET* blockset, int x, int y,
                std::uint32_t newValue, std::uint32_t oldValue);

// The same fill without touching the image: `mask` must start all 0, and its
// non-zero pixels stand for the marked ones. The mask comes out exactly as
// BucketFill on a copy of the image would leave it, with no copy made.
// `filled`, when given, receives the mask's bounding box as
// GetBucketFillBoundingBox would find it, without the scan.
void BucketFillMask(const BITMAPINFOHEADER* image, BITMAPINFOHEADER* mask, const BLOCKSET* blockset, int x, int y,
                    std::uint32_t newValue, std::uint32_t oldValue, RECT* filled = nullptr);

// The feathered edge of an 8-bit mask: exactly ImposeKernelFilter(mask,
// AntialiasKernel2, 0), with the weights outside the image dropped, in one
// pass over three rows at a time. Null for other depths or without memory.
HDIB FeatherMask(const BITMAPINFOHEADER* mask);

// The rectangle of the mask's non-zero pixels, right and bottom one past the
// last; all zero for an empty mask. Always 1.
int GetBucketFillBoundingBox(const BITMAPINFOHEADER* mask, RECT* rect);

// A whole fill of the record's Image from (x, y), whose pixel is `seed`, with
// `colour` or the record's fill source. Non-zero on success; 0 when memory
// runs out, the image then unchanged. The caller takes the undo copy.
int InsetBucketFill(BLOCKSET* blockset, std::uint32_t colour, std::uint32_t seed, int x, int y);

// The flood fill tool: stands over the image; every press fills.
class BucketTool : public ToolSession {
 public:
  BucketTool() : ToolSession(TOOL_BUCKET) {}
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonDown(int x, int y, unsigned keys) override { Fill(x, y, keys); }
  void OnRButtonDown(int x, int y, unsigned keys) override { Fill(x, y, keys); }
  void OnMButtonDown(int x, int y, unsigned keys) override { Fill(x, y, keys); }
  bool ChangesImage() const override { return false; }

 private:
  void Fill(int x, int y, unsigned keys);
};

}  // namespace ochrel
