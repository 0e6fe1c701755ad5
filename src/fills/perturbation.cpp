// Perturbation: gradient noise summed over octaves plus a field of random
// bubbles, mapped through a colour ramp made from three editable curves.
//
// The noise lattice is made once per run, from the seed of the first
// perturbation texture that asks for noise; later textures reuse it, so their
// seeds change only their bubbles.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "fills/fill_util.h"
#include "fills/texture.h"
#include "image/crand.h"
#include "image/parallel.h"

namespace ochrel {

namespace {

constexpr float kEpsilon = 1.1920929e-7f;

float NoiseSin[34], NoiseCos[34];
int NoisePerm[34];
float OctaveWeights[9];
bool noiseBuilt = false, weightsBuilt = false;
std::uint32_t noiseSeed = 0;

void BuildNoiseTables(std::uint32_t seed) {
  ochrel::srand(seed);
  for (int i = 0; i < 16; ++i) {
    const float angle = static_cast<float>(ochrel::rand() * (2 * 3.1415927) * 3.051850947599719e-05);
    NoiseSin[i] = std::sin(angle);
    NoiseCos[i] = std::cos(angle);
  }
  for (int i = 0; i < 16; ++i) NoisePerm[i] = i;
  // Steps of two, and the first swap takes element 16, still zero: the
  // permutation is not a true shuffle, and pictures depend on that.
  for (int i = 16; i > 0; i -= 2) {
    const int j = ochrel::rand() & 15;
    std::swap(NoisePerm[i], NoisePerm[j]);
  }
  for (int i = 0; i < 18; ++i) {
    NoiseSin[i + 16] = NoiseSin[i];
    NoiseCos[i + 16] = NoiseCos[i];
    NoisePerm[i + 16] = NoisePerm[i];
  }
  noiseBuilt = true;
  noiseSeed = seed;
}

void BuildOctaveWeights() {
  for (int i = 0; i < 9; ++i) OctaveWeights[i] = static_cast<float>(std::pow(std::pow(2.0, i), -0.5));
  weightsBuilt = true;
}

struct Knots {
  float k[6];
};
// Clamped to 0..1; a value that is no number (a damaged library) counts as 0.
float Unit(float v) { return v >= 0.0f ? std::min(v, 1.0f) : 0.0f; }

Knots MakeKnots(float a, float b, float c, float d) {
  Knots n;
  n.k[1] = Unit(a);
  n.k[2] = Unit(b);
  n.k[3] = Unit(c);
  n.k[4] = Unit(d);
  n.k[0] = 2 * n.k[1] - n.k[2];
  n.k[5] = 2 * n.k[4] - n.k[3];
  return n;
}

void MakeColours(BYTE (*colours)[3], const Knots* channel) {
  for (int i = 0; i < 256; ++i) {
    const float t = static_cast<float>(i * 0.00392156862745098);
    for (int c = 0; c < 3; ++c) {
      const float v = texture_detail::ColourSpline(t, channel[c].k) * 255;
      colours[i][c] = static_cast<BYTE>(v >= 0.0f ? static_cast<int>(std::min(v, 255.0f)) : 0);
    }
  }
}

void MakeBubbleMap(float* map, int W, int H, const TEXTURE* t, int bubbles, int size) {
  ochrel::srand(t->SeedValue1);
  const int rsq = size * size;
  for (int b = 0; b < bubbles; ++b) {
    const int cx = ochrel::rand() % W, cy = ochrel::rand() % H;
    // A bitmap of one row or column leaves no room for a radius: the bubble is its centre.
    const int lo = size > 0 ? -size : 0, hi = size > 0 ? size : 1;
    for (int dy = lo; dy < hi; ++dy) {
      for (int dx = lo; dx < hi; ++dx) {
        const int d = dx * dx + dy * dy;
        if (d > rsq) continue;
        float& m = map[static_cast<std::size_t>((cy + H + dy) % H) * W + (cx + W + dx) % W];
        const float q = rsq > 0 ? static_cast<float>(d) / static_cast<float>(rsq) : 0.0f;
        switch (t->BubbleShape) {
          case 0: m = m + 1; break;
          case 1: m = m + 1 / (q * 2 + 1); break;
          // Infinite at the centre; the clamp of the value puts it at the top of the ramp.
          case 2: m = q > 0 ? m + 1 / (q * 16) : HUGE_VALF; break;
          case 3: m = m + (1 - m) * q; break;
          default: break;
        }
      }
    }
  }
}

}  // namespace

namespace texture_detail {

float PerturbationOctaves(int matrixSize) {
  const float bracket = static_cast<float>((matrixSize - 32) * 0.0010080645161290322);
  return static_cast<float>(bracket * 8 + 1.1920929e-7);
}

void EnsureNoiseTables(std::uint32_t seed) {
  if (!noiseBuilt) BuildNoiseTables(seed);
  if (!weightsBuilt) BuildOctaveWeights();
}
bool NoiseTablesBuilt() { return noiseBuilt; }
std::uint32_t NoiseTablesSeed() { return noiseSeed; }
void ForgetNoiseTablesForTesting() {
  noiseBuilt = false;
  std::fill(NoisePerm, NoisePerm + 34, 0);
}
float OctaveWeight(int i) {
  if (!weightsBuilt) BuildOctaveWeights();
  return OctaveWeights[std::clamp(i, 0, 8)];
}

float GradientNoise(float x, float y) {
  if (!noiseBuilt) BuildNoiseTables(noiseSeed);
  const float tx = x + 10000;
  const int ix = static_cast<int>(tx);
  const int bx0 = ix & 15, bx1 = (bx0 + 1) & 15;
  const float rx0 = tx - static_cast<float>(ix), rx1 = rx0 - 1;
  const float ty = y + 10000;
  const int iy = static_cast<int>(ty);
  const int by0 = iy & 15, by1 = (by0 + 1) & 15;
  const float ry0 = ty - static_cast<float>(iy), ry1 = ry0 - 1;
  const int i = NoisePerm[bx0], j = NoisePerm[bx1];
  const int b00 = NoisePerm[i + by0], b10 = NoisePerm[j + by0];
  const int b01 = NoisePerm[i + by1], b11 = NoisePerm[j + by1];
  const float sx = rx0 * rx0 * (3 - 2 * rx0);
  const float sy = ry0 * ry0 * (3 - 2 * ry0);
  // Only the left corners use the sine table; the right ones take the cosine twice.
  const float c00 = rx0 * NoiseSin[b00] + ry0 * NoiseCos[b00];
  const float c10 = rx1 * NoiseCos[b10] + ry0 * NoiseCos[b10];
  const float c01 = rx0 * NoiseSin[b01] + ry1 * NoiseCos[b01];
  const float c11 = rx1 * NoiseCos[b11] + ry1 * NoiseCos[b11];
  const float a = c00 + (c10 - c00) * sx;
  const float b = c01 + (c11 - c01) * sx;
  const float r = (a + (b - a) * sy) * 1.5f;
  return r;
}

float FractalNoiseSum(float x, float y, float count) {
  if (!weightsBuilt) BuildOctaveWeights();
  if (count < 0 || count > 8) count = 8;
  float sum = 0;
  int i = 0;
  for (; static_cast<float>(i) < count; ++i) {
    sum += GradientNoise(x, y) * OctaveWeights[i];
    x *= 2;
    y *= 2;
  }
  const float f = count - std::trunc(count);
  if (f > 1.1920929e-7) sum += GradientNoise(x, y) * f * OctaveWeights[std::min(i, 8)];
  return sum;
}

float ColourSpline(float x, const float* knots) {
  x = x >= 0.0f ? std::min(x, 1.0f) : 0.0f;
  x = x * 3;
  int span = std::min(static_cast<int>(x), 2);
  x = x - static_cast<float>(span);
  const float* k = knots + span;
  const float c3 = -0.5f * k[0] + 1.5f * k[1] - 1.5f * k[2] + 0.5f * k[3];
  const float c2 = k[0] - 2.5f * k[1] + 2.0f * k[2] - 0.5f * k[3];
  const float c1 = -0.5f * k[0] + 0.5f * k[2];
  const float c0 = k[1];
  return ((c3 * x + c2) * x + c1) * x + c0;
}

}  // namespace texture_detail

HDIB CreatePerturbationTexture(const TEXTURE* t) {
  if (!t) return nullptr;
  const int W = t->Rect.right - t->Rect.left, H = t->Rect.bottom - t->Rect.top;
  const float octaves = texture_detail::PerturbationOctaves(t->MatrixSize);
  const Knots knots[3] = {MakeKnots(t->ColorRed0, t->ColorRed1, t->ColorRed2, t->ColorRed3),
                          MakeKnots(t->ColorGreen0, t->ColorGreen1, t->ColorGreen2, t->ColorGreen3),
                          MakeKnots(t->ColorBlue0, t->ColorBlue1, t->ColorBlue2, t->ColorBlue3)};
  const int bubbles = std::clamp(t->BubbleCount, 0, 1024);
  int size = std::max(t->BubbleSize, 1);
  size = std::min(size, W / 2);
  size = std::min(size, H / 2);

  HDIB dib = fills::CreateSolidDib24(W, H, 0);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;
  BYTE colours[256][3];
  MakeColours(colours, knots);
  const std::size_t cells = static_cast<std::size_t>(W) * H;
  auto field = fills::AllocScratch<float>(cells);
  if (!field) return nullptr;
  fills::Scratch<float> map;
  if (bubbles >= 1) {
    map = fills::AllocScratch<float>(cells);
    if (!map) return nullptr;
    MakeBubbleMap(map.data(), W, H, t, bubbles, size);
  }
  const float power = t->PerturbationPower;
  const bool noise = power > kEpsilon;
  const bool useBubbles = std::fabs(t->BubblePower) > 0 && bubbles >= 1;
  if (noise) texture_detail::EnsureNoiseTables(t->SeedValue1);
  float* value = field.data();
  const float* bubbleMap = map.data();
  ParallelBands(H, 8, [&](int begin, int end) {
    for (int y = begin; y < end; ++y) {
      const float v = static_cast<float>(y) / static_cast<float>(H);
      for (int x = 0; x < W; ++x) {
        const float u = static_cast<float>(x) / static_cast<float>(W);
        float n = 0;
        if (noise) n = texture_detail::FractalNoiseSum(16 * u, 16 * v, octaves) * power;
        float b = 0;
        if (useBubbles) b = 2 * t->BubblePower * bubbleMap[static_cast<std::size_t>(y) * W + x] - 1;
        float val = (n + b + 1) * 0.5f;
        if (!(val >= 0)) val = 0;  // also a NaN
        if (val > 1) val = 1;
        value[static_cast<std::size_t>(y) * W + x] = val;
      }
    }
  });
  for (int y = 0; y < H; ++y) {
    BYTE* p = DibRow(h, y);
    const float* row = value + static_cast<std::size_t>(y) * W;
    for (int x = 0; x < W; ++x, p += 3) {
      const BYTE* c = colours[static_cast<int>(row[x] * 255)];
      p[0] = c[2];
      p[1] = c[1];
      p[2] = c[0];
    }
  }
  return dib;
}

}  // namespace ochrel
