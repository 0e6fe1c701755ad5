#include "fills/texture.h"

namespace ochrel {

void CreateDefaultTexture(TEXTURE* t) {
  if (!t) return;
  t->MatrixSize = 64;
  t->ForeColour1 = 0xFFFFFF;
  t->ForeColour2 = 0xFFE0E0;
  t->ForeColour3 = 0xFFA0A0;
  t->ForeColour4 = 0xFF8080;
  t->ForeColour5 = 0xFF6060;
  t->BackColour = 0xFF0000;
  t->Power1 = t->Power2 = t->Power3 = t->Power4 = t->Power5 = 0.75f;
  t->SeedValue1 = 10000;
  t->SeedValue2 = 10001;
  t->SeedValue3 = 10002;
  t->SeedValue4 = 10003;
  t->SeedValue5 = 10004;
  t->Dimension1 = t->Dimension2 = t->Dimension3 = t->Dimension4 = t->Dimension5 = 2.15f;
  t->CreaterCount = 5000;
  t->CreaterDepth = 1.5f;
  t->ColorRed0 = t->ColorGreen0 = t->ColorBlue0 = 0.0f;
  t->ColorRed1 = t->ColorGreen1 = t->ColorBlue1 = 0.33f;
  t->ColorRed2 = t->ColorGreen2 = t->ColorBlue2 = 0.67f;
  t->ColorRed3 = t->ColorGreen3 = t->ColorBlue3 = 1.0f;
  t->BubbleCount = 64;
  t->BubbleSize = 4;
  t->BubblePower = 0.25f;
  t->PerturbationPower = 1.0f;
  t->BubbleShape = 0;
}

namespace {
// The dialog controls each type shows.
constexpr int kControls0[] = {502, 501, 512, 507, 518, 517, 0};
constexpr int kControls1[] = {502, 503, 501, 512, 507, 513, 508, 518, 519, 517, 0};
constexpr int kControls2[] = {502, 503, 504, 501, 512, 513, 514, 507, 508, 509, 518, 519, 520, 517, 0};
constexpr int kControls3[] = {502, 503, 504, 505, 501, 512, 513, 514, 515, 507,
                              508, 509, 510, 518, 519, 520, 521, 517, 0};
constexpr int kControls4[] = {502, 501, 512, 523, 524, 0};
constexpr int kControls5[] = {525, 526, 527, 517, 529, 528, 530, 532, 531, 512, 0};
}  // namespace

const TEXTURETYPE texturetype[kTextureTypes] = {
    {"2-color fractal", CreateFractalClouds2Color, kControls0},
    {"3-color fractal", CreateFractalClouds3Color, kControls1},
    {"4-color fractal", CreateFractalClouds4Color, kControls2},
    {"5-color fractal", CreateFractalClouds5Color, kControls3},
    {"Craters", CreateCraters2Colour, kControls4},
    {"Perturbation", CreatePerturbationTexture, kControls5},
};

HDIB CreateTexture(const TEXTURE* texture) {
  if (!texture || texture->TextureType < 0 || texture->TextureType >= kTextureTypes) return nullptr;
  return texturetype[texture->TextureType].generator(texture);
}

}  // namespace ochrel
