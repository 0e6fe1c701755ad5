#include "filters/noise.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "filters/filterutil.h"
#include "image/crand.h"
#include "image/fastpath.h"
#include "image/parallel.h"

namespace ochrel {

using filterutil::SampleBytes;
using filterutil::StoredRow;
using filterutil::TryResize;

namespace {
constexpr double kPi = 3.141592653589793;
constexpr double kDegrees = 0.005555555555555556;  // 1 / 180

inline double Uniform() { return (rand() & 0x7FFF) * 3.051850947599719e-05; }
}  // namespace

int FilterGenerateNoise(int level, int type) {
  const double n = level;
  double alpha = Uniform();
  if (alpha == 0.0) alpha = 1.0;
  double value;
  switch (type) {
    case 1: {
      double sigma = alpha <= 1e-05 ? 255.0 : std::sqrt(-2.0 * std::log(alpha));
      double beta = Uniform();
      value = n + n * 0.5 * sigma * std::cos(2.0 * kPi * beta);
      break;
    }
    case 2: value = alpha < 0.05 ? 0.0 : alpha >= 0.95 ? 255.0 : n; break;
    case 3:
      if (alpha <= 0.5) {
        value = alpha <= 1e-05 ? n - 255.0 : n + 10.0 * std::log(2.0 * alpha);
      } else {
        double b = 1.0 - alpha;
        value = b <= 5e-06 ? n + 255.0 : n - 10.0 * std::log(2.0 * b);
      }
      break;
    case 4: {
      int i = 0;
      double limit = std::exp(-0.05 * n);
      while (alpha > limit) {
        alpha *= Uniform();
        ++i;
      }
      value = i * 20.0;
      break;
    }
    default: {
      double beta = Uniform();
      double t = std::sqrt(-2.0 * std::log(alpha));
      value = n + std::sqrt(n) * 4.0 * t * std::cos(2.0 * kPi * beta) + 20.0 * t * std::sin(2.0 * kPi * beta);
      break;
    }
  }
  if (value < 0.0) return 0;
  if (value > 255.0) return 255;
  return static_cast<int>(value + 0.5);
}

namespace {

// The quick form of the two noise types that take exactly two draws per
// value: the logarithms, roots and cosines of the 32768 possible draws come
// from tables made with the very expressions FilterGenerateNoise uses, and the
// rows are spread over the cores, each band starting at its own place in the
// generator's sequence. False when it does not apply.
bool AddNoiseQuick(BITMAPINFOHEADER* o, int bytes, int level, int type, bool coloured) {
  if (!FastPaths() || (type != 0 && type != 1)) return false;
  const int width = o->biWidth, height = o->biHeight;
  const int perPixel = bytes == 1 || !coloured ? 1 : 3;
  const unsigned long long rowDraws = 2ull * perPixel * static_cast<unsigned long long>(width);
  struct Tables {
    std::vector<double> root[2], cosine, sine;
    Tables() {
      for (auto* v : {&root[0], &root[1], &cosine, &sine}) v->resize(32768);
      for (int i = 0; i < 32768; ++i) {
        double alpha = i * 3.051850947599719e-05;
        if (alpha == 0.0) alpha = 1.0;
        root[0][i] = std::sqrt(-2.0 * std::log(alpha));
        root[1][i] = alpha <= 1e-05 ? 255.0 : std::sqrt(-2.0 * std::log(alpha));
        const double beta = i * 3.051850947599719e-05;
        cosine[i] = std::cos(2.0 * kPi * beta);
        sine[i] = std::sin(2.0 * kPi * beta);
      }
    }
  };
  static const Tables* tables = []() -> Tables* {  // made once, kept for the program's life
    try {
      return new Tables;
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }();
  if (!tables) return false;
  const double* root = tables->root[type].data();
  const double* cosine = tables->cosine.data();
  const double* sine = tables->sine.data();
  const double n = level;
  const int halfLevel = level / 2;
  const unsigned start = RandState();
  ParallelBands(height, 16, [&](int y0, int y1) {
    std::uint32_t state = RandStateAfter(start, rowDraws * static_cast<unsigned long long>(y0));
    auto draw = [&state] {
      state = state * 22695477u + 1u;
      return static_cast<int>((state >> 16) & 0x7FFF);
    };
    auto noise = [&] {
      const int a = draw(), b = draw();
      const double t = root[a], c = cosine[b];
      double value;
      if (type == 1) value = n + n * 0.5 * t * c;
      else value = n + std::sqrt(n) * 4.0 * t * c + 20.0 * t * sine[b];
      const int v = value < 0.0 ? 0 : value > 255.0 ? 255 : static_cast<int>(value + 0.5);
      return v - halfLevel;
    };
    auto add = [](BYTE& s, int delta) { s = static_cast<BYTE>(std::clamp(s + delta, 0, 255)); };
    for (int y = y0; y < y1; ++y) {
      BYTE* p = StoredRow(o, y);
      for (int x = 0; x < width; ++x, p += bytes) {
        if (bytes == 1) {
          add(p[0], noise());
        } else if (coloured) {
          for (int c = 0; c < 3; ++c) add(p[c], noise());
        } else {
          const int delta = noise();
          for (int c = 0; c < 3; ++c) add(p[c], delta);
        }
      }
    }
  });
  SetRandState(RandStateAfter(start, rowDraws * static_cast<unsigned long long>(height)));
  return true;
}

}  // namespace

HDIB FilterAddNoise(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  int bytes = SampleBytes(src, param->ImageType);
  if (!bytes) return out;
  int level = param->FilterNoiseLevel, type = param->FilterNoiseType;
  int halfLevel = level / 2;
  bool coloured = param->FilterNoiseColour != 0;
  int width = src->biWidth;
  if (AddNoiseQuick(o, bytes, level, type, coloured)) return out;
  auto add = [](BYTE& s, int delta) { s = static_cast<BYTE>(std::clamp(s + delta, 0, 255)); };
  // The draws follow one another through the shared generator, so this runs
  // in stored order on one thread.
  for (int y = 0; y < src->biHeight; ++y) {
    BYTE* p = StoredRow(o, y);
    for (int x = 0; x < width; ++x, p += bytes) {
      if (bytes == 1) {
        add(p[0], FilterGenerateNoise(level, type) - halfLevel);
      } else if (coloured) {
        for (int c = 0; c < 3; ++c) add(p[c], FilterGenerateNoise(level, type) - halfLevel);
      } else {
        int delta = FilterGenerateNoise(level, type) - halfLevel;
        for (int c = 0; c < 3; ++c) add(p[c], delta);
      }
    }
  }
  return out;
}

void Hull(int xOffset, int yOffset, int polarity, int columns, int rows, BYTE* f, BYTE* g) {
  if (!f || !g || columns <= 0 || rows <= 0) return;
  const std::ptrdiff_t stride = columns + 2;
  const std::ptrdiff_t o = yOffset * stride + xOffset;
  const bool up = polarity > 0;
  // Each pass writes one plane from the other, so rows are independent.
  ParallelBands(rows, 64, [&](int r0, int r1) {
    for (int r = r0; r < r1; ++r) {
      const BYTE* __restrict fp = f + (r + 1) * stride + 1;
      BYTE* __restrict gp = g + (r + 1) * stride + 1;
      const BYTE* fo = fp + o;
      if (up) {
        for (int i = 0; i < columns; ++i) gp[i] = static_cast<BYTE>(fp[i] + (fo[i] > fp[i] ? 1 : 0));
      } else {
        for (int i = 0; i < columns; ++i)
          gp[i] = static_cast<BYTE>(fp[i] - (static_cast<BYTE>(fo[i] + 1) < fp[i] ? 1 : 0));
      }
    }
  });
  ParallelBands(rows, 64, [&](int r0, int r1) {
    for (int r = r0; r < r1; ++r) {
      const BYTE* __restrict gp = g + (r + 1) * stride + 1;
      BYTE* __restrict fp = f + (r + 1) * stride + 1;
      const BYTE* gb = gp - o;
      const BYTE* ga = gp + o;
      if (up) {
        for (int i = 0; i < columns; ++i) {
          BYTE v = gp[i];
          fp[i] = static_cast<BYTE>(v + ((static_cast<BYTE>(gb[i] + 1) > v) & (ga[i] > v)));
        }
      } else {
        for (int i = 0; i < columns; ++i) {
          BYTE v = gp[i];
          fp[i] = static_cast<BYTE>(v - ((static_cast<BYTE>(gb[i] + 1) < v) & (ga[i] < v)));
        }
      }
    }
  });
}

HDIB FilterDespeckleImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  int bytes = SampleBytes(src, param->ImageType);
  if (!bytes) return out;
  int width = src->biWidth, height = src->biHeight;
  std::size_t stride = static_cast<std::size_t>(width) + 2;
  std::vector<BYTE> f, g;
  std::size_t planeSize = stride * (static_cast<std::size_t>(height) + 2);
  if (!TryResize(f, planeSize) || !TryResize(g, planeSize)) return nullptr;
  static const int kDirections[4][2] = {{0, 1}, {1, 0}, {1, 1}, {-1, 1}};
  int channels = bytes == 1 ? 1 : 3;
  for (int c = 0; c < channels; ++c) {
    std::fill(f.begin(), f.end(), 0);
    std::fill(g.begin(), g.end(), 0);
    for (int y = 0; y < height; ++y) {
      const BYTE* s = StoredRow(src, y) + c;
      BYTE* d = f.data() + (y + 1) * stride + 1;
      for (int x = 0; x < width; ++x) d[x] = s[x * bytes];
    }
    for (const auto& dir : kDirections) {
      const auto step = ProgressStage::Part(c * 4 + static_cast<int>(&dir - kDirections), channels * 4);
      int X = dir[0], Y = dir[1];
      Hull(X, Y, 1, width, height, f.data(), g.data());
      Hull(-X, -Y, 1, width, height, f.data(), g.data());
      Hull(-X, -Y, -1, width, height, f.data(), g.data());
      Hull(X, Y, -1, width, height, f.data(), g.data());
    }
    for (int y = 0; y < height; ++y) {
      const BYTE* s = f.data() + (y + 1) * stride + 1;
      BYTE* d = StoredRow(o, y) + c;
      for (int x = 0; x < width; ++x) d[x * bytes] = s[x];
    }
  }
  return out;
}

namespace {
// The intensity of every pixel of a true-colour image, stored rows.
bool IntensityPlane(const BITMAPINFOHEADER* h, int bytes, std::vector<BYTE>& plane) {
  int width = h->biWidth, height = h->biHeight;
  if (!TryResize(plane, static_cast<std::size_t>(width) * height)) return false;
  ParallelBands(height, 64, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* p = StoredRow(h, y);
      BYTE* d = plane.data() + static_cast<std::size_t>(y) * width;
      for (int x = 0; x < width; ++x, p += bytes) d[x] = static_cast<BYTE>(PixelIntensity(p[2], p[1], p[0]));
    }
  });
  return true;
}
}  // namespace

HDIB FilterOilPaint(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  int bytes = SampleBytes(src, IMAGE_TRUECOLOUR);
  if (!bytes || param->ImageType != IMAGE_TRUECOLOUR) return DuplicateObject(image);
  double radius = param->FilterOilpaintRadius * 0.01;
  const int W = static_cast<int>(2.0 * std::ceil(radius) + 1.0);
  if (W < 1 || W > 1000) return nullptr;
  int width = src->biWidth, height = src->biHeight;
  if (width > INT32_MAX - 2 * W || height > INT32_MAX - 2 * W) return nullptr;
  const int V = width + 2 * W, H = height + 2 * W;
  HDIB padded = MattImage(image, V, H, W, W, param->PaperColour);
  const BITMAPINFOHEADER* pad = LockDib(padded);
  if (!pad) return nullptr;
  HDIB target = filterutil::CreateLike(pad, V, H);
  BITMAPINFOHEADER* t = LockDib(target);
  if (!t) return nullptr;
  std::vector<BYTE> lum;
  if (!IntensityPlane(pad, bytes, lum)) return nullptr;

  ParallelBands(H - 2 * W, 8, [&](int b0, int b1) {
    int hist[256] = {};
    // Visit order of the diamond, as (row offset, first column offset, count).
    for (int y = W + b0; y < W + b1; ++y) {
      const BYTE* lumRow[2 * 1000 + 1];
      for (int k = -W; k <= W; ++k) lumRow[k + W] = lum.data() + static_cast<std::size_t>(y + k) * V;
      BYTE* dst = StoredRow(t, y);
      for (int x = W; x < V - W; ++x) {
        int best = 0, bestRow = 0, bestCol = 0;
        auto visit = [&](int dy, int col) {
          int c = ++hist[lumRow[dy + W][col]];
          if (c > best) {
            best = c;
            bestRow = dy;
            bestCol = col;
          }
        };
        for (int i = 0; i < W; ++i) {
          int c0 = x - i + 1, c1 = x + i + 1;
          for (int col = c0; col <= c1; ++col) visit(-(W - i), col);
          for (int col = c0; col <= c1; ++col) visit(W - i, col);
        }
        for (int col = x - W; col <= x + W; ++col) visit(0, col);
        std::memcpy(dst + static_cast<std::size_t>(x) * bytes,
                    StoredRow(pad, y + bestRow) + static_cast<std::size_t>(bestCol) * bytes, bytes);
        // Undo the counts rather than clearing all 256.
        for (int i = 0; i < W; ++i) {
          for (int col = x - i + 1; col <= x + i + 1; ++col) {
            hist[lumRow[W - (W - i)][col]] = 0;
            hist[lumRow[W + (W - i)][col]] = 0;
          }
        }
        for (int col = x - W; col <= x + W; ++col) hist[lumRow[W][col]] = 0;
      }
    }
  });
  return CropImage(target, RECT{W, W, W + width, W + height});
}

HDIB FilterShade(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  int bytes = SampleBytes(src, IMAGE_TRUECOLOUR);
  if (!bytes || param->ImageType != IMAGE_TRUECOLOUR) return out;
  std::vector<BYTE> lum;
  if (!IntensityPlane(src, bytes, lum)) return nullptr;
  const double a = param->FilterShadeAzimuth * kPi * kDegrees;
  const double e = param->FilterShadeElevation * kPi * kDegrees;
  const double lx = 255.0 * std::cos(a) * std::cos(e);
  const double ly = 255.0 * std::sin(a) * std::cos(e);
  const double lz = 255.0 * std::sin(e);
  const bool coloured = param->FilterShadeLevel != 0;
  const int width = src->biWidth, height = src->biHeight;
  // Images under 3 rows or 2 columns read the nearest row or column that exists.
  auto clampRow = [&](int r) { return std::clamp(r, 0, height - 1); };
  auto clampCol = [&](int c) { return std::clamp(c, 0, width - 1); };
  ParallelBands(height, 32, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      int b = y - 1;
      if (b < 0) b = 0;
      if (b > height - 3) b = height - 3;
      const BYTE* s0 = lum.data() + static_cast<std::size_t>(clampRow(b)) * width;
      const BYTE* s1 = lum.data() + static_cast<std::size_t>(clampRow(b + 1)) * width;
      const BYTE* s2 = lum.data() + static_cast<std::size_t>(clampRow(b + 2)) * width;
      BYTE* d = StoredRow(o, y);
      for (int x = 0; x < width; ++x, d += bytes) {
        int l = x == 0 ? -1 : 1;
        int r = x == width - 1 ? -1 : 1;
        int xl = clampCol(x - l), xr = clampCol(x + r);
        int nx = s0[xl] + s1[xl] + s2[xl] - s0[xr] - s1[xr] - s2[xr];
        int ny = s2[xl] + s2[x] + s2[xr] - s0[xl] - s0[x] - s0[xr];
        double shade;
        if (nx == 0 && ny == 0) {
          shade = lz;
        } else {
          shade = 0.0;
          double dot = nx * lx + ny * ly + 510.0 * lz;
          double m = static_cast<double>(nx) * nx + static_cast<double>(ny) * ny + 510.0 * 510.0;
          if (dot > 0.0 && m > 1e-07) shade = dot / std::sqrt(m);
        }
        if (coloured) {
          for (int c = 0; c < 3; ++c)
            d[c] = static_cast<BYTE>(static_cast<int>(static_cast<int>(d[c] * shade) * 0.00392156862745098));
        } else {
          BYTE v = static_cast<BYTE>(static_cast<int>(shade));
          d[0] = d[1] = d[2] = v;
        }
      }
    }
  });
  return out;
}

HDIB CreateVignetteMask(int width, int height, const FILTERPARAM* param) {
  if (!param || width <= 0 || height <= 0) return nullptr;
  int smaller = std::min(width, height), longer = std::max(width, height);
  int inset = static_cast<int>(static_cast<long long>(smaller) * param->FilterVignetteOffsetLevel / 100);
  int half = longer / 2 - inset;
  int rings = static_cast<int>(static_cast<long long>(param->FilterVignetteLevel) * half / 100);
  int steps = std::min(rings, 256);
  BYTE shade[256];
  for (int i = 0; i < steps; ++i)
    shade[i] = static_cast<BYTE>(static_cast<int>(255.0 - std::sin(90.0 / steps * i * 0.017453277777777776) * 255.0));
  if (steps > 0) shade[steps - 1] = 0;

  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 10);
  HDIB mask = CreateDib(width, height, palette, 8);
  BITMAPINFOHEADER* h = LockDib(mask);
  if (!h) return nullptr;

  // Ellipse i fills its box (right and bottom edges outside) with shade[i],
  // outermost first. The boxes shrink evenly about one centre, so the
  // ellipses nest and each row is a set of nested spans: the last ellipse
  // that covers a pixel decides it.
  auto shrinkOf = [&](int i) { return rings <= 256 ? i : static_cast<int>(i * rings * 0.00390625); };
  const double cx = width * 0.5, cy = height * 0.5;
  ParallelBands(height, 64, [&](int y0, int y1) {
    std::vector<int> left(static_cast<std::size_t>(steps) + 1), right(static_cast<std::size_t>(steps) + 1);
    for (int y = y0; y < y1; ++y) {
      BYTE* row = DibRow(h, y);
      std::memset(row, 255, static_cast<std::size_t>(width));
      int count = 0;
      int prevL = 0, prevR = width;
      for (int i = 0; i < steps; ++i) {
        int k = inset + shrinkOf(i);
        int bl = k, br = width - k, bt = k, bb = height - k;
        if (br <= bl || bb <= bt || y < bt || y >= bb) break;
        double a = (br - bl) * 0.5, b = (bb - bt) * 0.5;
        double dy = (y + 0.5 - cy) / b;
        double q = 1.0 - dy * dy;
        if (q < 0.0) break;
        double hw = a * std::sqrt(q);
        int x0 = static_cast<int>(std::ceil(cx - hw - 0.5));
        int x1 = static_cast<int>(std::floor(cx + hw - 0.5)) + 1;  // exclusive
        x0 = std::max({x0, bl, prevL});
        x1 = std::min({x1, br, prevR});
        if (x1 <= x0) break;
        left[count] = x0;
        right[count] = x1;
        prevL = x0;
        prevR = x1;
        ++count;
      }
      for (int i = 0; i < count; ++i) {
        int innerL = i + 1 < count ? left[i + 1] : right[i];
        int innerR = i + 1 < count ? right[i + 1] : right[i];
        std::memset(row + left[i], shade[i], static_cast<std::size_t>(innerL - left[i]));
        std::memset(row + innerR, shade[i], static_cast<std::size_t>(right[i] - innerR));
      }
    }
  });
  return mask;
}

HDIB FilterVignetteImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  int bytes = SampleBytes(src, param->ImageType);
  if (!bytes) return DuplicateObject(image);
  ProgressStage stage(0.0, 0.5);
  HDIB mask = CreateVignetteMask(src->biWidth, src->biHeight, param);
  stage.Move(0.5, 1.0);
  const BITMAPINFOHEADER* m = LockDib(mask);
  if (!m) return nullptr;
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  // Stored bytes run blue, green, red; grey takes the paper's low byte.
  const int paper[3] = {GetBValue(param->PaperColour), GetGValue(param->PaperColour), GetRValue(param->PaperColour)};
  const int channels = bytes == 1 ? 1 : 3;
  const int grey = GetRValue(param->PaperColour);
  int width = src->biWidth;
  ParallelBands(src->biHeight, 32, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* mr = StoredRow(m, y);
      BYTE* d = StoredRow(o, y);
      for (int x = 0; x < width; ++x, d += bytes) {
        int mv = mr[x];
        if (mv == 0) continue;
        for (int c = 0; c < channels; ++c) {
          int p = channels == 1 ? grey : paper[c];
          d[c] = static_cast<BYTE>(d[c] * (255 - mv) / 255 + p * mv / 255);
        }
      }
    }
  });
  return out;
}

}  // namespace ochrel
