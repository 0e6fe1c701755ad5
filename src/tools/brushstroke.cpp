#include "tools/brushstroke.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "tools/brushstamp.h"

namespace ochrel {
namespace {

void Include(RECT& r, int left, int top, int right, int bottom) {
  if (left >= right || top >= bottom) return;
  if (r.left >= r.right || r.top >= r.bottom) {
    r = RECT{left, top, right, bottom};
    return;
  }
  r.left = std::min(r.left, left);
  r.top = std::min(r.top, top);
  r.right = std::max(r.right, right);
  r.bottom = std::max(r.bottom, bottom);
}

}  // namespace

std::uint32_t GetBrushColour(const BLOCKSET& document) {
  return document.Tool == TOOL_ERASER ? document.PaperColour : document.PaintColour;
}

BrushStroke::BrushStroke(BLOCKSET& document, const HDIB& stamp) : doc_(document), stamp_(&stamp) {}

BrushStroke::~BrushStroke() = default;

void BrushStroke::SetColour(std::uint32_t value) {
  colour_ = value;
  colourSet_ = true;
}

std::optional<RECT> BrushStroke::Press(POINT at, POINT scroll) {
  Release();
  const BITMAPINFOHEADER* h = LockDib(doc_.Image);
  if (!h || !LockDib(*stamp_) || LockDib(*stamp_)->biBitCount != 8) return std::nullopt;
  const int bits = h->biBitCount;
  if (h->biWidth <= 0 || h->biHeight <= 0 || (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32))
    return std::nullopt;
  width_ = h->biWidth;
  height_ = h->biHeight;
  bits_ = bits;
  const int type = GetImageType(h);
  blend_ = type == IMAGE_TRUECOLOUR || type == IMAGE_GREY;
  if (!colourSet_) colour_ = GetBrushColour(doc_);

  if (blend_) {
    // Both buffers come zeroed from the allocator, and large ones straight from
    // the kernel: only the pages a stroke touches ever cost anything, so there
    // is no full copy of the image at the press. The copy of a pixel is taken
    // the first time the stroke covers it, which is the press-time value since
    // nothing has written it before.
    const std::size_t area = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    coverage_ = MemBlock::Allocate(area);
    copy_ = MemBlock::Allocate(DibStride(h) * static_cast<std::size_t>(height_));
    if (!coverage_ || !copy_) {
      coverage_.reset();
      copy_.reset();
      return std::nullopt;
    }
    const int k[3] = {GetBValue(colour_), GetGValue(colour_), GetRValue(colour_)};
    for (int c = 0; c < 3; ++c)
      for (int m = 0; m < 256; ++m) kTerm_[c][m] = k[c] * m / 255;
    if (bits == 8)  // grey: the level is the low byte
      for (int m = 0; m < 256; ++m) kTerm_[0][m] = static_cast<int>(colour_ & 255) * m / 255;
  }
  image_ = doc_.Image.get();
  scroll_ = scroll;
  last_ = at;
  painting_ = true;
  RECT changed{};
  StampAt(at.x, at.y, changed);
  return changed;
}

RECT BrushStroke::DrawSoftBrushLine(POINT a, POINT b) {
  RECT changed{};
  const BITMAPINFOHEADER* st = LockDib(*stamp_);
  if (!painting_ || !st) return changed;
  // Only stamps that can reach the image: the image in view points, widened by
  // the stamp on every side.
  auto limit = [](long long v) {
    return static_cast<std::int32_t>(std::clamp<long long>(v, INT32_MIN / 2, INT32_MAX / 2));
  };
  const long long w = st->biWidth, h = st->biHeight;
  const RECT reach{limit(-scroll_.x - w), limit(-scroll_.y - h), limit(width_ - scroll_.x + w),
                   limit(height_ - scroll_.y + h)};
  StepBrushLine(
      a, b, [&](int x, int y) { StampAt(x, y, changed); }, &reach);
  return changed;
}

RECT BrushStroke::DrawSoftBrush(POINT at) {
  RECT changed{};
  if (painting_) StampAt(at.x, at.y, changed);
  return changed;
}

RECT BrushStroke::Release() {
  painting_ = false;
  coverage_.reset();
  copy_.reset();
  image_ = nullptr;
  return RECT{};
}

void BrushStroke::StampAt(int x, int y, RECT& changed) {
  BITMAPINFOHEADER* img = LockDib(doc_.Image);
  const BITMAPINFOHEADER* st = LockDib(*stamp_);
  // The image must still be the one bound at the press (an undo swaps it).
  if (!img || !st || doc_.Image.get() != image_ || img->biWidth != width_ || img->biHeight != height_ ||
      img->biBitCount != bits_ || st->biBitCount != 8)
    return;
  const int w = st->biWidth, h = st->biHeight;
  const long long left = static_cast<long long>(x) - w / 2 + scroll_.x;
  const long long top = static_cast<long long>(y) - h / 2 + scroll_.y;
  // Only the part of the stamp over the image.
  const int i0 = static_cast<int>(std::clamp<long long>(-left, 0, w));
  const int i1 = static_cast<int>(std::clamp<long long>(width_ - left, 0, w));
  const int j0 = static_cast<int>(std::clamp<long long>(-top, 0, h));
  const int j1 = static_cast<int>(std::clamp<long long>(height_ - top, 0, h));
  if (i0 >= i1 || j0 >= j1) return;
  const int px0 = static_cast<int>(left) + i0, py0 = static_cast<int>(top) + j0;
  const int span = i1 - i0;
  Include(changed, px0, py0, px0 + span, py0 + (j1 - j0));

  if (!blend_) {
    const std::uint32_t value = colour_;
    for (int j = j0; j < j1; ++j) {
      const BYTE* s = DibRow(st, j) + i0;
      const int py = static_cast<int>(top) + j;
      if (bits_ == 8) {
        BYTE* d = DibRow(img, py) + px0;
        for (int i = 0; i < span; ++i)
          if (s[i] >= 128) d[i] = static_cast<BYTE>(value);
      } else {
        for (int i = 0; i < span; ++i)
          if (s[i] >= 128) PutDibPixel(img, px0 + i, py, value);
      }
    }
    return;
  }

  BYTE* const bits = DibBits(img);
  BYTE* const copyBase = copy_->data();
  BYTE* const covBase = coverage_->data();
  const std::size_t stride = DibStride(img);
  const int bpp = bits_ / 8;
  for (int j = j0; j < j1; ++j) {
    const BYTE* s = DibRow(st, j) + i0;
    const int py = static_cast<int>(top) + j;
    BYTE* cov = covBase + static_cast<std::size_t>(py) * static_cast<std::size_t>(width_) + px0;
    const std::size_t rowOffset = stride * static_cast<std::size_t>(height_ - 1 - py) +
                                  static_cast<std::size_t>(px0) * static_cast<std::size_t>(bpp);
    BYTE* d = bits + rowOffset;
    BYTE* o = copyBase + rowOffset;
    if (bpp == 1) {
      for (int i = 0; i < span; ++i) {
        const int m = s[i];
        if (m <= cov[i]) continue;
        if (cov[i] == 0) o[i] = d[i];
        cov[i] = static_cast<BYTE>(m);
        d[i] = static_cast<BYTE>((o[i] * (255 - m)) / 255 + kTerm_[0][m]);
      }
    } else {
      for (int i = 0; i < span; ++i) {
        const int m = s[i];
        if (m <= cov[i]) continue;
        BYTE* dp = d + static_cast<std::size_t>(i) * bpp;
        BYTE* op = o + static_cast<std::size_t>(i) * bpp;
        if (cov[i] == 0) std::memcpy(op, dp, static_cast<std::size_t>(bpp));
        cov[i] = static_cast<BYTE>(m);
        const unsigned keep = 255u - static_cast<unsigned>(m);
        dp[0] = static_cast<BYTE>((op[0] * keep) / 255u + kTerm_[0][m]);
        dp[1] = static_cast<BYTE>((op[1] * keep) / 255u + kTerm_[1][m]);
        dp[2] = static_cast<BYTE>((op[2] * keep) / 255u + kTerm_[2][m]);
      }
    }
  }
}

}  // namespace ochrel
