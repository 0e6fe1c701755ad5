// Generated textures: the parameter record, the table of types and the
// generators behind it (layered fractal clouds, craters, perturbation).
//
// Every generator reseeds the program-wide random generator before it draws,
// so one record always gives one picture, whatever else used the generator.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/dib.h"

namespace ochrel {

struct TEXTURE {
  int TextureType = 0;
  RECT Rect;
  int MatrixSize = 0;
  COLORREF ForeColour1 = 0, ForeColour2 = 0, ForeColour3 = 0, ForeColour4 = 0, ForeColour5 = 0;
  COLORREF BackColour = 0;
  float Power1 = 0, Power2 = 0, Power3 = 0, Power4 = 0, Power5 = 0;
  std::uint32_t SeedValue1 = 0, SeedValue2 = 0, SeedValue3 = 0, SeedValue4 = 0, SeedValue5 = 0;
  float Dimension1 = 0, Dimension2 = 0, Dimension3 = 0, Dimension4 = 0, Dimension5 = 0;
  int CreaterCount = 0;
  float CreaterDepth = 0;
  float ColorRed0 = 0, ColorRed1 = 0, ColorRed2 = 0, ColorRed3 = 0;
  float ColorGreen0 = 0, ColorGreen1 = 0, ColorGreen2 = 0, ColorGreen3 = 0;
  float ColorBlue0 = 0, ColorBlue1 = 0, ColorBlue2 = 0, ColorBlue3 = 0;
  int BubbleCount = 0;
  int BubbleSize = 0;
  float BubblePower = 0;
  float PerturbationPower = 0;
  int BubbleShape = 0;
};

// The stock values of every field but TextureType and Rect.
void CreateDefaultTexture(TEXTURE* texture);

// Null when TextureType is outside 0..5 or the generator fails.
HDIB CreateTexture(const TEXTURE* texture);

HDIB CreateFractalClouds2Color(const TEXTURE* texture);
HDIB CreateFractalClouds3Color(const TEXTURE* texture);
HDIB CreateFractalClouds4Color(const TEXTURE* texture);
HDIB CreateFractalClouds5Color(const TEXTURE* texture);
HDIB CreateCraters2Colour(const TEXTURE* texture);
HDIB CreatePerturbationTexture(const TEXTURE* texture);

struct TEXTURETYPE {
  const char* name;
  HDIB (*generator)(const TEXTURE*);
  const int* controls;  // dialog controls the type shows, 0-terminated
};
inline constexpr int kTextureTypes = 6;
extern const TEXTURETYPE texturetype[kTextureTypes];

// ---- Pieces exposed for tests and benchmarks ----------------------------------
namespace texture_detail {

// MatrixSize raised to a power of two (at least 2); 0 for sizes no mesh can take.
int FractalMeshSize(int matrixSize);
// Horizontal extent of the mesh mapping: max(W, H) rounded up to even.
inline int FractalExtent(int width, int depth) { return ((width > depth ? width : depth) + 1) & ~1; }

// One fractal layer: spectral synthesis with the given seed and parameters,
// power and normalisation. Returns n*n real parts in -1..1 (empty on failure).
// The array is addressed [i * n + j].
bool MakeFractalMesh(int n, std::uint32_t seed, double power, double dimension, float* out);
// The steps of MakeFractalMesh on n * n interleaved complex values.
bool SpectralSynthesisMesh(int n, std::uint32_t seed, double dimension, float* mesh);
void ApplyFractalPower(float* mesh, std::size_t cells, double power);
void NormaliseFractalMesh(const float* mesh, std::size_t cells, float* out);
// The in-place complex transform on n x n interleaved single-precision values.
void FourierTransform2D(float* data, int n, int sign);

// The octave count that MatrixSize gives the perturbation noise.
float PerturbationOctaves(int matrixSize);
float FractalNoiseSum(float x, float y, float count);
float GradientNoise(float x, float y);
// The lattice tables are built once per run from the seed of the first
// perturbation texture that asks for noise; this makes that happen (or not,
// when they already exist) and tells which seed built them.
void EnsureNoiseTables(std::uint32_t seed);
bool NoiseTablesBuilt();
std::uint32_t NoiseTablesSeed();
void ForgetNoiseTablesForTesting();
float OctaveWeight(int i);

// The crater slope shading table, slopes -52..52.
int CraterSlopeShade(int slope);
// Catmull-Rom over six knots, x in 0..1.
float ColourSpline(float x, const float* knots);

}  // namespace texture_detail

}  // namespace ochrel
