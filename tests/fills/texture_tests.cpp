#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <tuple>
#include <utility>
#include <vector>

#include "fills/texture.h"
#include "image/crand.h"
#include "test_images.h"

using namespace ochrel;
namespace td = ochrel::texture_detail;
using ochrel::test::Pixel;

namespace {

TEXTURE Texture(int type, int w, int h) {
  TEXTURE t;
  CreateDefaultTexture(&t);
  t.TextureType = type;
  t.Rect = RECT{0, 0, w, h};
  return t;
}

// Padding bytes past the last pixel of each row must stay untouched.
bool PaddingClean(const HDIB& dib) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  const std::size_t used = static_cast<std::size_t>(h->biWidth) * 3;
  for (int y = 0; y < h->biHeight; ++y)
    for (std::size_t k = used; k < DibStride(h); ++k)
      if (DibRow(h, y)[k] != 0) return false;
  return true;
}

}  // namespace

TEST(TextureRecord, DefaultsLeaveTypeAndRect) {
  TEXTURE t;
  t.TextureType = 4;
  t.Rect = RECT{1, 2, 3, 4};
  CreateDefaultTexture(&t);
  EXPECT_EQ(t.TextureType, 4);
  EXPECT_EQ(t.Rect, (RECT{1, 2, 3, 4}));
  // The values are pinned by the written library form and the stock files.
}

TEST(TextureDispatch, TypesOutsideTheTableGiveNothing) {
  for (int type : {6, -1, 100}) {
    TEXTURE t = Texture(type, 16, 16);
    EXPECT_FALSE(CreateTexture(&t)) << type;
  }
  TEXTURE t = Texture(0, 0, 10);
  EXPECT_FALSE(CreateTexture(&t));  // no bitmap of width 0
}

TEST(FractalMesh, SizeRaisedToPowerOfTwoAndExtentEven) {
  for (auto [asked, size] : {std::pair{100, 128}, {64, 64}, {65, 128}, {1, 2}, {0, 2}, {-5, 2}, {1 << 20, 0}})
    EXPECT_EQ(td::FractalMeshSize(asked), size) << asked;
  for (auto [w, h, extent] : {std::tuple{101, 50, 102}, {100, 50, 100}, {30, 77, 78}})
    EXPECT_EQ(td::FractalExtent(w, h), extent) << w << "x" << h;

  TEXTURE a = Texture(0, 40, 30), b = a;
  a.MatrixSize = 100;
  b.MatrixSize = 128;
  HDIB da = CreateTexture(&a), db = CreateTexture(&b);
  ASSERT_TRUE(da && db);
  EXPECT_TRUE(test::SameBlock(da, db));
}

// An independent, literal reading of the synthesis rules: coefficients drawn in
// order, then a direct inverse transform. Agreement proves the order of draws,
// the symmetric placement and the transform together.
TEST(FractalTransform, SpectralSynthesisFollowsTheDrawOrder) {
  const int n = 8;
  const std::uint32_t seed = 4321;
  const double dimension = 2.3, h = 3 - dimension;
  std::vector<std::complex<double>> coef(n * n);
  ochrel::srand(seed);
  const double arand = 32767.0, gaussadd = std::sqrt(12.0), gaussfac = 2 * gaussadd / (4 * arand);
  auto gauss = [&] {
    double s = 0;
    for (int k = 0; k < 4; ++k) s += ochrel::rand() & 0x7FFF;
    return gaussfac * s - gaussadd;
  };
  auto at = [&](int i, int j) -> std::complex<double>& { return coef[i * n + j]; };
  for (int i = 0; i <= n / 2; ++i)
    for (int j = 0; j <= n / 2; ++j) {
      const double phase = (ochrel::rand() & 0x7FFF) / arand * 6.283185307179586;
      const double rad = (i || j) ? std::pow(double(i * i + j * j), -(h + 1) / 2) * gauss() : 0.0;
      at(i, j) = std::polar(rad, phase);
      at(i ? n - i : 0, j ? n - j : 0) = std::conj(std::polar(rad, phase));
    }
  at(n / 2, 0).imag(0);
  at(0, n / 2).imag(0);
  at(n / 2, n / 2).imag(0);
  for (int i = 1; i < n / 2; ++i)
    for (int j = 1; j < n / 2; ++j) {
      const double phase = (ochrel::rand() & 0x7FFF) / arand * 6.283185307179586;
      const double rad = std::pow(double(i * i + j * j), -(h + 1) / 2) * gauss();
      at(i, n - j) = std::polar(rad, phase);
      at(n - i, j) = std::conj(std::polar(rad, phase));
    }
  const int expectedState = ochrel::rand();

  std::vector<float> mesh(n * n * 2);
  ochrel::srand(99);
  td::SpectralSynthesisMesh(n, seed, dimension, mesh.data());
  EXPECT_EQ(ochrel::rand(), expectedState);  // exactly as many draws
  double worst = 0, peak = 0, imagWorst = 0;
  for (int k1 = 0; k1 < n; ++k1)
    for (int k2 = 0; k2 < n; ++k2) {
      std::complex<double> sum;
      for (int a = 0; a < n; ++a)
        for (int b = 0; b < n; ++b)
          sum += at(a, b) * std::polar(1.0, -2 * M_PI * (double(k1) * a + double(k2) * b) / n);
      worst = std::max(worst, std::abs(sum.real() - mesh[(k1 * n + k2) * 2]));
      imagWorst = std::max(imagWorst, std::abs(double(mesh[(k1 * n + k2) * 2 + 1])));
      peak = std::max(peak, std::abs(sum.real()));
    }
  EXPECT_GT(peak, 0.1);
  EXPECT_LT(worst, 1e-4 * peak);
  // The placed coefficients are Hermitian except for the Nyquist corners, so
  // the field is nearly real.
  EXPECT_LT(imagWorst, 0.5 * peak);
}

TEST(FractalMesh, PowerStepAndNormalisation) {
  std::vector<float> mesh = {0.5f, 9, -0.25f, 9, 2.0f, 9, 0.0f, 9, 1e-3f, 9};
  std::vector<float> same = mesh;
  td::ApplyFractalPower(same.data(), 5, 1.0);
  EXPECT_EQ(same, mesh);
  std::vector<float> zero = mesh;
  td::ApplyFractalPower(zero.data(), 5, 0.0);
  EXPECT_EQ(zero[0], 1.0f);
  EXPECT_EQ(zero[2], -0.25f);  // not positive: kept
  EXPECT_EQ(zero[4], 1.0f);
  EXPECT_EQ(zero[6], 0.0f);
  EXPECT_EQ(zero[8], 1.0f);
  EXPECT_EQ(zero[1], 9.0f);  // imaginary parts untouched
  std::vector<float> half = mesh;
  td::ApplyFractalPower(half.data(), 5, 0.5);
  EXPECT_FLOAT_EQ(half[4], std::sqrt(2.0f));

  std::vector<float> out(5);
  td::NormaliseFractalMesh(mesh.data(), 5, out.data());
  EXPECT_FLOAT_EQ(out[1], -1.0f);
  EXPECT_FLOAT_EQ(out[2], 1.0f);
  EXPECT_NEAR(out[0], (0.5 - 0.875) / 1.125, 1e-6);
  std::vector<float> flat = {3, 0, 3, 0};
  td::NormaliseFractalMesh(flat.data(), 2, out.data());
  EXPECT_EQ(out[0], 0.0f);
}

TEST(FractalRender, SameRecordSamePictureWhateverHappenedBetween) {
  for (int type : {0, 3, 4, 5}) {
    TEXTURE t = Texture(type, 64, 40);
    t.MatrixSize = 32;
    t.CreaterCount = 300;
    HDIB a = CreateTexture(&t);
    ochrel::srand(12345);
    for (int k = 0; k < 1000; ++k) ochrel::rand();
    HDIB b = CreateTexture(&t);
    ASSERT_TRUE(a && b) << type;
    EXPECT_TRUE(test::SameBlock(a, b)) << type;
    TEXTURE other = t;
    other.SeedValue1 += 1;
    HDIB c = CreateTexture(&other);
    ASSERT_TRUE(c);
    if (type != 5) {
      EXPECT_FALSE(test::SameBlock(a, c)) << type;  // perturbation: see its own test
    }
  }
}

TEST(FractalRender, DegenerateSizesAreSound) {
  TEXTURE t = Texture(3, 37, 1);  // one row: nothing to interpolate towards
  t.MatrixSize = 32;
  HDIB row = CreateTexture(&t);
  ASSERT_TRUE(row);
  EXPECT_TRUE(PaddingClean(row));
  t.Rect = RECT{0, 0, 1, 23};
  EXPECT_TRUE(CreateTexture(&t));
  t.MatrixSize = 1;  // below what a mesh needs: still a picture, and no hang
  t.Rect = RECT{0, 0, 20, 20};
  EXPECT_TRUE(CreateTexture(&t));
  t.MatrixSize = 1 << 24;  // no mesh that large is tried
  EXPECT_FALSE(CreateTexture(&t));
}

namespace {
TEXTURE FlatPerturbation(int w, int h) {
  TEXTURE t = Texture(5, w, h);
  t.PerturbationPower = 0;
  t.ColorRed0 = 0, t.ColorRed1 = 1.0f / 3, t.ColorRed2 = 2.0f / 3, t.ColorRed3 = 1;  // a straight ramp
  t.ColorGreen0 = 1, t.ColorGreen1 = 1, t.ColorGreen2 = 1, t.ColorGreen3 = 1;
  t.ColorBlue0 = 0, t.ColorBlue1 = 0, t.ColorBlue2 = 0, t.ColorBlue3 = 0;
  return t;
}
int RampRed(float value) {
  const int index = int(value * 255);
  const float knots[6] = {-1.0f / 3, 0, 1.0f / 3, 2.0f / 3, 1, 4.0f / 3};
  return int(std::clamp(td::ColourSpline(float(index * 0.00392156862745098), knots) * 255, 0.0f, 255.0f));
}
}  // namespace

TEST(Perturbation, ShapesAndTinyBitmaps) {
  for (int shape = 0; shape < 5; ++shape) {
    TEXTURE t = FlatPerturbation(24, 24);
    t.BubbleShape = shape;
    t.BubbleCount = 2000;  // clamped to 1024
    t.BubblePower = 1;
    HDIB dib = CreateTexture(&t);
    ASSERT_TRUE(dib) << shape;
    if (shape == 2) {
      // Luminous centres are infinite and end at the top of the ramp.
      int top = 0;
      for (int y = 0; y < 24; ++y)
        for (int x = 0; x < 24; ++x) top += GetRValue(Pixel(dib, x, y)) == RampRed(1.0f);
      EXPECT_GT(top, 0);
    }
    if (shape == 4) {  // an unknown shape changes nothing: all empty, all black
      EXPECT_EQ(Pixel(dib, 5, 5), RGB(0, 255, 0));
    }
  }
  TEXTURE t = FlatPerturbation(1, 5);
  t.PerturbationPower = 1;
  EXPECT_TRUE(CreateTexture(&t));
}

TEST(Perturbation, NoiseTablesComeFromTheFirstTextureOfTheRun) {
  td::ForgetNoiseTablesForTesting();
  TEXTURE a = Texture(5, 48, 32);
  a.BubbleCount = 0;
  a.SeedValue1 = 5;
  a.PerturbationPower = 0;  // asks for no noise: builds nothing
  ASSERT_TRUE(CreateTexture(&a));
  EXPECT_FALSE(td::NoiseTablesBuilt());
  a.PerturbationPower = 1;
  HDIB first = CreateTexture(&a);
  EXPECT_TRUE(td::NoiseTablesBuilt());
  EXPECT_EQ(td::NoiseTablesSeed(), 5u);
  TEXTURE b = a;
  b.SeedValue1 = 9;
  HDIB second = CreateTexture(&b);
  EXPECT_TRUE(test::SameBlock(first, second));  // the seed now only moves bubbles
  b.BubbleCount = 10;
  HDIB bubbly = CreateTexture(&b);
  EXPECT_FALSE(test::SameBlock(first, bubbly));
}

// A hand-edited library can hold any number, or none: every generator must
// come back with a picture or nothing, never with undefined arithmetic.
TEST(TextureHostile, NonsenseNumbersGiveSoundResults) {
  const float bad[] = {std::nanf(""), INFINITY, -INFINITY, 1e30f, -1e30f};
  for (float v : bad) {
    for (int type = 0; type < 6; ++type) {
      TEXTURE t = Texture(type, 24, 18);
      t.MatrixSize = 32;
      t.CreaterCount = 200;
      t.Power1 = t.Power2 = t.Power3 = t.Power4 = v;
      t.Dimension1 = t.Dimension3 = v;
      t.CreaterDepth = v;
      t.ColorRed1 = t.ColorGreen2 = t.ColorBlue3 = v;
      t.BubblePower = v;
      t.PerturbationPower = v;
      HDIB dib = CreateTexture(&t);
      if (dib) {
        EXPECT_TRUE(PaddingClean(dib)) << type;
      }
    }
  }
  TEXTURE t = Texture(4, 30, 30);
  t.CreaterCount = -5;
  EXPECT_TRUE(CreateTexture(&t));
  t.TextureType = 5;
  t.BubbleCount = -3;
  t.BubbleSize = -9;
  t.MatrixSize = -100000;
  EXPECT_TRUE(CreateTexture(&t));
}

// The transform as one multi-dimensional pass over a 1-based array, literally:
// the line-by-line form must give the very same bits.
namespace {
void LiteralFourn(float* data, const unsigned long* nn, int ndim, int isign) {
  unsigned long ntot = 1;
  for (int idim = 1; idim <= ndim; idim++) ntot *= nn[idim];
  unsigned long nprev = 1;
  for (int idim = ndim; idim >= 1; idim--) {
    const unsigned long n = nn[idim], nrem = ntot / (n * nprev), ip1 = nprev << 1, ip2 = ip1 * n, ip3 = ip2 * nrem;
    unsigned long i2rev = 1;
    for (unsigned long i2 = 1; i2 <= ip2; i2 += ip1) {
      if (i2 < i2rev) {
        for (unsigned long i1 = i2; i1 <= i2 + ip1 - 2; i1 += 2)
          for (unsigned long i3 = i1; i3 <= ip3; i3 += ip2) {
            const unsigned long i3rev = i2rev + i3 - i2;
            std::swap(data[i3], data[i3rev]);
            std::swap(data[i3 + 1], data[i3rev + 1]);
          }
      }
      unsigned long ibit = ip2 >> 1;
      while (ibit >= ip1 && i2rev > ibit) {
        i2rev -= ibit;
        ibit >>= 1;
      }
      i2rev += ibit;
    }
    unsigned long ifp1 = ip1;
    while (ifp1 < ip2) {
      const unsigned long ifp2 = ifp1 << 1;
      const double theta = isign * 6.283185307179586 / static_cast<double>(ifp2 / ip1);
      double wtemp = std::sin(0.5 * theta);
      const double wpr = -2.0 * wtemp * wtemp, wpi = std::sin(theta);
      double wr = 1.0, wi = 0.0;
      for (unsigned long i3 = 1; i3 <= ifp1; i3 += ip1) {
        for (unsigned long i1 = i3; i1 <= i3 + ip1 - 2; i1 += 2)
          for (unsigned long i2 = i1; i2 <= ip3; i2 += ifp2) {
            const unsigned long k1 = i2, k2 = k1 + ifp1;
            const float tempr = static_cast<float>(wr * data[k2] - wi * data[k2 + 1]);
            const float tempi = static_cast<float>(wr * data[k2 + 1] + wi * data[k2]);
            data[k2] = data[k1] - tempr;
            data[k2 + 1] = data[k1 + 1] - tempi;
            data[k1] += tempr;
            data[k1 + 1] += tempi;
          }
        wr = (wtemp = wr) * wpr - wi * wpi + wr;
        wi = wi * wpr + wtemp * wpi + wi;
      }
      ifp1 = ifp2;
    }
    nprev *= n;
  }
}
}  // namespace

TEST(FractalTransform, BitForBitTheMultiDimensionalPassBothSigns) {
  for (int sign : {-1, 1}) {
    for (int n : {2, 16, 64}) {
      std::vector<float> ours(n * n * 2), literal(n * n * 2 + 1);
      for (int i = 0; i < n * n * 2; ++i)
        ours[i] = literal[i + 1] = static_cast<float>(std::sin(i * 0.731) * (1 + i % 7));
      const unsigned long nn[3] = {0, static_cast<unsigned long>(n), static_cast<unsigned long>(n)};
      td::FourierTransform2D(ours.data(), n, sign);
      LiteralFourn(literal.data(), nn, 2, sign);
      for (int i = 0; i < n * n * 2; ++i) ASSERT_EQ(ours[i], literal[i + 1]) << sign << " " << n << " " << i;
    }
  }
}
