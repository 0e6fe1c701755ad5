#include "fills/stock.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "fills/matrix.h"

namespace ochrel {

namespace {

struct Rgb {
  double r, g, b;
};
Rgb Mix(Rgb a, Rgb b, double t) {
  t = std::clamp(t, 0.0, 1.0);
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}
Rgb Shade(Rgb a, double f) { return {a.r * f, a.g * f, a.b * f}; }
Rgb Hex(unsigned v) { return {double((v >> 16) & 255), double((v >> 8) & 255), double(v & 255)}; }

// Small deterministic value noise, so that tiles get some grain.
double Hash(int x, int y, int salt) {
  unsigned h = static_cast<unsigned>(x) * 374761393u + static_cast<unsigned>(y) * 668265263u +
               static_cast<unsigned>(salt) * 2246822519u;
  h = (h ^ (h >> 13)) * 1274126177u;
  h ^= h >> 16;
  return (h & 0xFFFF) / 65535.0;
}
double Smooth(double a, double b, double x) {
  const double t = std::clamp((x - a) / (b - a), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}
double Mod(double a, double m) { return a - m * std::floor(a / m); }

// Renders a w x h tile with 3 x 3 supersampling; f gives the colour at a point
// (coordinates in pixels, fractional).
HDIB Render(int w, int h, const std::function<Rgb(double, double)>& f) {
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 8);
  HDIB dib = CreateDib(w, h, palette, 24);
  BITMAPINFOHEADER* hd = LockDib(dib);
  if (!hd) return nullptr;
  for (int y = 0; y < h; ++y) {
    BYTE* p = DibRow(hd, y);
    for (int x = 0; x < w; ++x, p += 3) {
      Rgb sum{0, 0, 0};
      for (int sy = 0; sy < 3; ++sy)
        for (int sx = 0; sx < 3; ++sx) {
          const Rgb c = f(x + (sx + 0.5) / 3.0, y + (sy + 0.5) / 3.0);
          sum.r += c.r;
          sum.g += c.g;
          sum.b += c.b;
        }
      p[2] = static_cast<BYTE>(std::clamp(sum.r / 9.0, 0.0, 255.0));
      p[1] = static_cast<BYTE>(std::clamp(sum.g / 9.0, 0.0, 255.0));
      p[0] = static_cast<BYTE>(std::clamp(sum.b / 9.0, 0.0, 255.0));
    }
  }
  return dib;
}

HDIB Bricks() {
  const double bw = 48, bh = 20, mortar = 2.5;
  return Render(96, 40, [=](double x, double y) {
    const int row = static_cast<int>(y / bh);
    const double ox = (row % 2) ? bw / 2 : 0;
    const double lx = Mod(x + ox, bw), ly = Mod(y, bh);
    const int brick = static_cast<int>((x + ox) / bw) + row * 7;
    const double edge = std::min({lx, bw - lx, ly, bh - ly});
    const Rgb base = Mix(Hex(0xA0442C), Hex(0xB86A48), Hash(brick, row, 1));
    const Rgb grain = Shade(base, 0.9 + 0.2 * Hash(int(x * 3), int(y * 3), 2));
    const Rgb lit =
        Shade(grain, 1.0 + 0.15 * Smooth(mortar, mortar + 3, ly) - 0.15 * Smooth(bh - mortar - 3, bh - mortar, ly));
    return Mix(Hex(0xCFC8BA), lit, Smooth(mortar - 0.5, mortar + 0.5, edge));
  });
}

HDIB Checks() {
  return Render(64, 64, [](double x, double y) {
    const bool dark = (static_cast<int>(x / 32) + static_cast<int>(y / 32)) % 2;
    const Rgb c = dark ? Hex(0x2E3A59) : Hex(0xE8E2D0);
    const double lx = Mod(x, 32), ly = Mod(y, 32);
    const double bevel = 0.85 + 0.15 * Smooth(0, 3, std::min(lx, ly)) + 0.1 * (1 - Smooth(29, 32, std::max(lx, ly)));
    return Shade(c, bevel);
  });
}

HDIB Weave() {
  const double cell = 16;
  return Render(64, 64, [=](double x, double y) {
    const int cx = static_cast<int>(x / cell), cy = static_cast<int>(y / cell);
    const double lx = Mod(x, cell) / cell, ly = Mod(y, cell) / cell;
    const bool warpOver = (cx + cy) % 2 == 0;
    // The strand on top rounds across its width and dips at its ends.
    const double across = warpOver ? lx : ly, along = warpOver ? ly : lx;
    const double round = std::sin(3.14159265 * across);
    const double dip = 0.75 + 0.25 * std::sin(3.14159265 * along);
    const Rgb strand = warpOver ? Hex(0xC89B5A) : Hex(0x9C6B35);
    const double gap = Smooth(0.0, 0.08, across) * Smooth(0.0, 0.08, 1 - across);
    return Mix(Hex(0x3B2A18), Shade(strand, (0.55 + 0.45 * round) * dip), gap);
  });
}

HDIB Scales() {
  const double w = 32, h = 24;
  return Render(64, 48, [=](double x, double y) {
    // Each row of scales overlaps the one above; find the nearest scale below.
    Rgb best = Hex(0x1D4D4F);
    for (int k = 2; k >= -1; --k) {
      const int row = static_cast<int>(std::floor(y / (h / 2))) - k;
      const double oy = row * (h / 2);
      const double ox = (row % 2 != 0) ? w / 2 : 0;
      const double cx = std::floor((x - ox) / w) * w + ox + w / 2;
      for (double dx : {0.0, -w, w}) {
        const double px = x - (cx + dx), py = y - oy;
        const double r = std::hypot(px / (w / 2), py / (h * 0.95));
        if (py >= 0 && r < 1.0) {
          const double t = r;
          const Rgb c = Mix(Hex(0x6FC2A5), Hex(0x1F6E6B), t * t);
          best = Mix(Hex(0x0E2F30), c, Smooth(1.0, 0.9, r));
        }
      }
    }
    return best;
  });
}

HDIB Diamonds() {
  return Render(48, 48, [](double x, double y) {
    const double u = std::fabs(Mod(x, 48) - 24) / 24, v = std::fabs(Mod(y, 48) - 24) / 24;
    const double d = u + v;
    const Rgb inner = Mix(Hex(0x7A1F3D), Hex(0xB5456B), 1 - d);
    const Rgb outer = Hex(0x1B1B3A);
    const Rgb c = Mix(inner, outer, Smooth(0.92, 0.98, d));
    const double line = std::fabs(Mod(x + y, 24) - 12) < 0.6 || std::fabs(Mod(x - y, 24) - 12) < 0.6;
    return Mix(c, Hex(0xE0C068), line * 0.8);
  });
}

HDIB Herringbone() {
  return Render(64, 64, [](double x, double y) {
    const int col = static_cast<int>(x / 16);
    const double ly = Mod(y + (col % 2 ? -x : x), 64);
    const int plank = static_cast<int>(ly / 8);
    const double py = Mod(ly, 8), px = Mod(x, 16);
    const Rgb wood = Mix(Hex(0x8A5A2B), Hex(0xC08A4E), Hash(plank, col, 3));
    const double grain = 0.9 + 0.1 * std::sin((px + Hash(plank, col, 4) * 20) * 1.3 + py * 0.4);
    const double edge = Smooth(0, 1.2, std::min({py, 8 - py, px, 16 - px}));
    return Shade(wood, grain * (0.6 + 0.4 * edge));
  });
}

HDIB Dots() {
  return Render(40, 40, [](double x, double y) {
    const double d1 = std::hypot(Mod(x, 40) - 10, Mod(y, 40) - 10);
    const double d2 = std::hypot(Mod(x, 40) - 30, Mod(y, 40) - 30);
    const double d = std::min(d1, d2);
    const Rgb dot = Mix(Hex(0xFFF4C2), Hex(0xE8A33C), d / 8);
    return Mix(dot, Hex(0x2F6690), Smooth(7.5, 8.5, d));
  });
}

HDIB Waves() {
  return Render(80, 40, [](double x, double y) {
    const double phase = 2 * 3.14159265 * x / 80;
    const double v = Mod(y + 5 * std::sin(phase), 20) / 20;
    const Rgb a = Hex(0x0B4F6C), b = Hex(0x9AD1D4);
    return Mix(a, b, 0.5 + 0.5 * std::sin(2 * 3.14159265 * v));
  });
}

HDIB Hexagons() {
  const double side = 12;
  const double w = std::sqrt(3.0) * side;
  // Two hexagons across and two rows down repeat; x is scaled a little so the
  // period is a whole number of pixels.
  return Render(42, 36, [=](double x, double y) {
    const double sx = x * (2 * w) / 42, sy = y;
    double d1 = 1e9, d2 = 1e9;
    int which = 0;
    for (int j = -1; j <= 3; ++j)
      for (int i = -1; i <= 3; ++i) {
        const double cx = i * w + ((j & 1) ? w / 2 : 0), cy = j * 1.5 * side;
        const double d = std::hypot(sx - cx, sy - cy);
        if (d < d1) {
          d2 = d1;
          d1 = d;
          which = ((i % 2 + 2) % 2) + 2 * ((j % 2 + 2) % 2);
        } else if (d < d2) {
          d2 = d;
        }
      }
    const Rgb colours[4] = {Hex(0xF2C14E), Hex(0xF78154), Hex(0x5FAD56), Hex(0x4D9DE0)};
    const Rgb face = Shade(colours[which], 0.85 + 0.15 * (1 - d1 / side));
    return Mix(Hex(0x3D3F4E), face, Smooth(0.8, 2.2, d2 - d1));
  });
}

HDIB Tartan() {
  return Render(72, 72, [](double x, double y) {
    auto band = [](double t) {
      t = Mod(t, 72);
      if (t < 18) return Hex(0x17325C);
      if (t < 22) return Hex(0xD9C36A);
      if (t < 40) return Hex(0x2B6B3A);
      if (t < 46) return Hex(0x17325C);
      if (t < 48) return Hex(0xB02A2A);
      return Hex(0x1D4D2A);
    };
    // Twill: warp and weft alternate on diagonals.
    const bool warp = static_cast<int>(std::floor(x) + std::floor(y)) % 4 < 2;
    const Rgb c = warp ? band(x) : band(y);
    return Mix(Shade(band(x), 0.5), c, 0.85);
  });
}

HDIB Parquet() {
  return Render(64, 64, [](double x, double y) {
    const int bx = static_cast<int>(x / 32), by = static_cast<int>(y / 32);
    const bool horizontal = (bx + by) % 2 == 0;
    const double lx = Mod(x, 32), ly = Mod(y, 32);
    const double across = horizontal ? ly : lx, along = horizontal ? lx : ly;
    const int strip = static_cast<int>(across / 8);
    const Rgb wood = Mix(Hex(0x6E3B1E), Hex(0xA8683A), Hash(strip, bx * 3 + by, 5));
    const double grain = 0.88 + 0.12 * std::sin(along * 0.5 + Mod(across, 8) * 1.7 + strip);
    const double edge = Smooth(0, 1, std::min(Mod(across, 8), 8 - Mod(across, 8)));
    return Shade(wood, grain * (0.65 + 0.35 * edge));
  });
}

HDIB Cobbles() {
  return Render(64, 64, [](double x, double y) {
    // Jittered cells; the stones are the Voronoi cells, wrapping at the tile's edge.
    double d1 = 1e9, d2 = 1e9;
    int id = 0;
    for (int j = -1; j <= 4; ++j)
      for (int i = -1; i <= 4; ++i) {
        const int wi = (i + 4) % 4, wj = (j + 4) % 4;
        const double cx = i * 16 + 4 + 8 * Hash(wi, wj, 6), cy = j * 16 + 4 + 8 * Hash(wi, wj, 7);
        const double d = std::hypot(x - cx, y - cy);
        if (d < d1) {
          d2 = d1;
          d1 = d;
          id = wi + wj * 4;
        } else if (d < d2) {
          d2 = d;
        }
      }
    const Rgb stone = Mix(Hex(0x7D7F7D), Hex(0xB9B3A5), Hash(id, 1, 8));
    const double edge = Smooth(0.5, 3.0, d2 - d1);
    return Mix(Hex(0x3A3530), Shade(stone, 0.8 + 0.2 * (1 - d1 / 14)), edge);
  });
}

}  // namespace

HDIB CreateStockTile(int index) {
  switch (index) {
    case 0: return Bricks();
    case 1: return Checks();
    case 2: return Weave();
    case 3: return Scales();
    case 4: return Diamonds();
    case 5: return Herringbone();
    case 6: return Dots();
    case 7: return Waves();
    case 8: return Hexagons();
    case 9: return Tartan();
    case 10: return Parquet();
    case 11: return Cobbles();
    default: return nullptr;
  }
}

std::vector<HDIB> StockMatrixTiles() {
  std::vector<HDIB> tiles;
  for (int k = 0; k < kStockTileCount; ++k) tiles.push_back(CreateStockTile(k));
  return tiles;
}

HDIB CreateBuiltinMatrixTile() {
  // A basket weave of two tones on 120 by 120, three cells each way.
  return Render(120, 120, [](double x, double y) {
    const double cell = 40;
    const int cx = static_cast<int>(x / cell), cy = static_cast<int>(y / cell);
    const double lx = Mod(x, cell), ly = Mod(y, cell);
    const bool vertical = (cx + cy) % 2 == 0;
    const double across = Mod(vertical ? lx : ly, cell / 3) / (cell / 3);
    const double along = (vertical ? ly : lx) / cell;
    const double round = std::sin(3.14159265 * across);
    const Rgb base = vertical ? Hex(0xD8B27A) : Hex(0xB88A4E);
    const double dip = 0.8 + 0.2 * std::sin(3.14159265 * along);
    return Mix(Hex(0x4A3520), Shade(base, (0.6 + 0.4 * round) * dip),
               Smooth(0, 0.12, across) * Smooth(0, 0.12, 1 - across));
  });
}

TextureList StockTextures() {
  TextureList list;
  auto make = [&](const char* name, int type, auto&& tweak) {
    TEXTURE t;
    CreateDefaultTexture(&t);
    t.TextureType = type;
    tweak(t);
    AddTextureItem(&list, name, t);
  };
  make("Blue sky", 0, [](TEXTURE& t) {
    t.BackColour = RGB(58, 110, 190);
    t.ForeColour1 = RGB(255, 255, 255);
    t.MatrixSize = 256;
    t.Power1 = 0.75f;
    t.Dimension1 = 2.15f;
  });
  make("Storm clouds", 1, [](TEXTURE& t) {
    t.BackColour = RGB(70, 78, 92);
    t.ForeColour1 = RGB(150, 156, 168);
    t.ForeColour2 = RGB(225, 228, 232);
    t.MatrixSize = 256;
    t.SeedValue1 = 4242;
    t.SeedValue2 = 777;
    t.Power1 = 0.5f;
    t.Power2 = 0.6f;
    t.Dimension1 = 2.0f;
  });
  make("Marble", 1, [](TEXTURE& t) {
    t.BackColour = RGB(232, 226, 214);
    t.ForeColour1 = RGB(150, 140, 132);
    t.ForeColour2 = RGB(90, 84, 80);
    t.MatrixSize = 512;
    t.SeedValue1 = 31;
    t.SeedValue2 = 32;
    t.Dimension1 = 2.4f;
    t.Dimension2 = 2.7f;
    t.Power1 = 0.45f;
    t.Power2 = 0.6f;
  });
  make("Moss", 2, [](TEXTURE& t) {
    t.BackColour = RGB(40, 58, 24);
    t.ForeColour1 = RGB(78, 110, 40);
    t.ForeColour2 = RGB(120, 150, 60);
    t.ForeColour3 = RGB(176, 190, 96);
    t.MatrixSize = 256;
    t.SeedValue1 = 900;
    t.SeedValue2 = 901;
    t.SeedValue3 = 902;
    t.Dimension1 = t.Dimension2 = t.Dimension3 = 2.6f;
  });
  make("Camouflage", 2, [](TEXTURE& t) {
    t.BackColour = RGB(86, 96, 58);
    t.ForeColour1 = RGB(52, 60, 36);
    t.ForeColour2 = RGB(140, 126, 88);
    t.ForeColour3 = RGB(30, 30, 24);
    t.MatrixSize = 128;
    t.SeedValue1 = 1001;
    t.SeedValue2 = 2002;
    t.SeedValue3 = 3003;
    t.Power1 = t.Power2 = t.Power3 = 0.5f;
    t.Dimension1 = t.Dimension2 = t.Dimension3 = 2.2f;
  });
  make("Granite", 3, [](TEXTURE& t) {
    t.BackColour = RGB(120, 110, 106);
    t.ForeColour1 = RGB(180, 166, 160);
    t.ForeColour2 = RGB(60, 56, 56);
    t.ForeColour3 = RGB(210, 196, 188);
    t.ForeColour4 = RGB(150, 90, 80);
    t.MatrixSize = 1024;
    t.SeedValue1 = 11;
    t.SeedValue2 = 12;
    t.SeedValue3 = 13;
    t.SeedValue4 = 14;
    t.Dimension1 = t.Dimension2 = t.Dimension3 = t.Dimension4 = 3.2f;
    t.Power1 = t.Power2 = t.Power3 = t.Power4 = 1.0f;
  });
  make("Nebula", 3, [](TEXTURE& t) {
    t.BackColour = RGB(6, 4, 20);
    t.ForeColour1 = RGB(80, 20, 120);
    t.ForeColour2 = RGB(200, 60, 110);
    t.ForeColour3 = RGB(60, 140, 220);
    t.ForeColour4 = RGB(255, 240, 220);
    t.MatrixSize = 512;
    t.SeedValue1 = 5150;
    t.SeedValue2 = 6160;
    t.SeedValue3 = 7170;
    t.SeedValue4 = 8180;
    t.Power4 = 1.5f;
    t.Dimension4 = 2.4f;
  });
  make("Moon surface", 4, [](TEXTURE& t) {
    t.BackColour = RGB(70, 70, 74);
    t.ForeColour1 = RGB(226, 222, 214);
    t.SeedValue1 = 1969;
    t.CreaterCount = 5000;
    t.CreaterDepth = 1.5f;
  });
  make("Hammered copper", 4, [](TEXTURE& t) {
    t.BackColour = RGB(92, 40, 20);
    t.ForeColour1 = RGB(240, 170, 110);
    t.SeedValue1 = 29;
    t.CreaterCount = 8000;
    t.CreaterDepth = 1.0f;
  });
  make("Lava", 5, [](TEXTURE& t) {
    t.MatrixSize = 400;
    t.SeedValue1 = 666;
    t.ColorRed0 = 0.1f, t.ColorRed1 = 0.8f, t.ColorRed2 = 1.0f, t.ColorRed3 = 1.0f;
    t.ColorGreen0 = 0.0f, t.ColorGreen1 = 0.1f, t.ColorGreen2 = 0.5f, t.ColorGreen3 = 0.95f;
    t.ColorBlue0 = 0.0f, t.ColorBlue1 = 0.0f, t.ColorBlue2 = 0.05f, t.ColorBlue3 = 0.5f;
    t.BubbleCount = 0;
    t.PerturbationPower = 1.6f;
  });
  make("Ocean bubbles", 5, [](TEXTURE& t) {
    t.MatrixSize = 300;
    t.SeedValue1 = 321;
    t.ColorRed0 = 0.0f, t.ColorRed1 = 0.05f, t.ColorRed2 = 0.3f, t.ColorRed3 = 0.9f;
    t.ColorGreen0 = 0.1f, t.ColorGreen1 = 0.3f, t.ColorGreen2 = 0.65f, t.ColorGreen3 = 1.0f;
    t.ColorBlue0 = 0.3f, t.ColorBlue1 = 0.55f, t.ColorBlue2 = 0.85f, t.ColorBlue3 = 1.0f;
    t.BubbleCount = 200;
    t.BubbleSize = 12;
    t.BubblePower = 0.6f;
    t.BubbleShape = 1;
    t.PerturbationPower = 1.0f;
  });
  make("Glowing spheres", 5, [](TEXTURE& t) {
    t.MatrixSize = 96;
    t.SeedValue1 = 1234;
    t.ColorRed0 = 0.05f, t.ColorRed1 = 0.2f, t.ColorRed2 = 0.9f, t.ColorRed3 = 1.0f;
    t.ColorGreen0 = 0.0f, t.ColorGreen1 = 0.1f, t.ColorGreen2 = 0.6f, t.ColorGreen3 = 1.0f;
    t.ColorBlue0 = 0.15f, t.ColorBlue1 = 0.35f, t.ColorBlue2 = 0.2f, t.ColorBlue3 = 0.8f;
    t.BubbleCount = 48;
    t.BubbleSize = 24;
    t.BubblePower = 0.8f;
    t.BubbleShape = 3;
    t.PerturbationPower = 0.4f;
  });
  return list;
}

}  // namespace ochrel
