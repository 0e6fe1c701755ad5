#include "render/wrapper.h"

#include <QCoreApplication>
#include <QFont>
#include <QFontInfo>
#include <QFontMetrics>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <tuple>
#include <vector>

#include "image/gradient_basic.h"

namespace ochrel {

namespace {

// Qt's rasterizer works in 16.16 fixed point in places; beyond this size
// coordinates lose their meaning, so larger masks are refused.
constexpr int kMaxMaskSide = 32767;
constexpr int kMaxLineThickness = 4096;
constexpr int kMaxFontPixels = 2000;

// ---- Masks ------------------------------------------------------------------

// An empty 8-bit mask. The caller's palette is used when it holds anything,
// else the grey ramp.
HDIB NewMask(long long width, long long depth, const BYTE* palette) {
  if (width < 1 || depth < 1 || width > kMaxMaskSide || depth > kMaxMaskSide) return nullptr;
  BYTE grey[768];
  const bool given = palette && std::any_of(palette, palette + 768, [](BYTE b) { return b != 0; });
  if (!given) GetDefaultPalette(grey, nullptr, 10);
  return CreateDib(static_cast<int>(width), static_cast<int>(depth), given ? palette : grey, 8);
}

// The mask's pixels as a QImage over the same memory (no copy). Alpha8 makes
// the painter's alpha the stored value: a shape drawn at alpha v on the zero
// background leaves v where it is solid and v times the coverage on its edges.
// The rows are in the DIB's order, so drawing happens upside down and
// FinishMask turns the rows over afterwards; flipping the painter instead would
// mirror Qt's fill convention for hard edges.
QImage OverMask(BITMAPINFOHEADER* h) {
  return QImage(DibBits(h), h->biWidth, h->biHeight, static_cast<qsizetype>(DibStride(h)), QImage::Format_Alpha8);
}

void FinishMask(BITMAPINFOHEADER* h) {
  const std::size_t stride = DibStride(h);
  std::vector<BYTE> tmp(stride);
  BYTE* bits = DibBits(h);
  for (int top = 0, bottom = h->biHeight - 1; top < bottom; ++top, --bottom) {
    BYTE* a = bits + stride * static_cast<std::size_t>(top);
    BYTE* b = bits + stride * static_cast<std::size_t>(bottom);
    std::memcpy(tmp.data(), a, stride);
    std::memcpy(a, b, stride);
    std::memcpy(b, tmp.data(), stride);
  }
}

QColor CoverageColour(std::int32_t value) { return QColor(0, 0, 0, static_cast<int>(value & 255)); }

void PreparePainter(QPainter& p, bool antialias) {
  p.setRenderHint(QPainter::Antialiasing, antialias);
  p.setRenderHint(QPainter::TextAntialiasing, antialias);
  // Later layers replace what lies under them, blended by their own coverage,
  // instead of adding to it.
  p.setCompositionMode(QPainter::CompositionMode_Source);
}

RECT Normal(RECT r) {
  if (r.left > r.right) std::swap(r.left, r.right);
  if (r.top > r.bottom) std::swap(r.top, r.bottom);
  return r;
}

// ---- Line -------------------------------------------------------------------

HDIB RenderLine(const WRAPPERBLOCK& b) {
  const auto& L = b.Line;
  const int t = std::clamp(L.LineThickness, 1, kMaxLineThickness);
  const int k = t / 2 + 4;
  const RECT r = Normal(b.Rect);
  const long long boxW = std::max<long long>({static_cast<long long>(r.right) - r.left, L.X0 + 1LL, L.X1 + 1LL, 1});
  const long long boxD = std::max<long long>({static_cast<long long>(r.bottom) - r.top, L.Y0 + 1LL, L.Y1 + 1LL, 1});
  HDIB mask = NewMask(boxW + 2 * k, boxD + 2 * k, b.Palette);
  BITMAPINFOHEADER* h = LockDib(mask);
  if (!h) return nullptr;
  if ((L.Coverage & 255) != 0) {
    QImage img = OverMask(h);
    QPainter p(&img);
    PreparePainter(p, b.Antialias != 0);
    const bool flat = L.LineCap == LINECAP_FLAT;
    // Ends at pixel centres, so that a line of odd thickness covers whole rows.
    QPointF a(L.X0 + k + 0.5, L.Y0 + k + 0.5), e(L.X1 + k + 0.5, L.Y1 + k + 0.5);
    if (flat && a != e) {
      // Flat ends reach to the outer edge of the end pixels, so that a line
      // from pixel 0 to pixel n covers n + 1 pixels, its ends included.
      const QPointF d = e - a;
      const QPointF half = d * (0.5 / std::hypot(d.x(), d.y()));
      a -= half;
      e += half;
    }
    if (a == e) {
      // A click without a drag still leaves a dot of the pen's size.
      p.setPen(Qt::NoPen);
      p.setBrush(CoverageColour(L.Coverage));
      const QRectF dot(a.x() - t / 2.0, a.y() - t / 2.0, t, t);
      if (flat) p.drawRect(dot);
      else p.drawEllipse(dot);
    } else {
      QPen pen(CoverageColour(L.Coverage), t, Qt::SolidLine, flat ? Qt::FlatCap : Qt::RoundCap,
               flat ? Qt::MiterJoin : Qt::RoundJoin);
      p.setPen(pen);
      p.drawLine(a, e);
    }
  }
  FinishMask(h);
  return mask;
}

// ---- Ellipse and rectangle ------------------------------------------------------

QPainterPath ShapePath(bool ellipse, const QRectF& r) {
  QPainterPath path;
  if (r.width() <= 0 || r.height() <= 0) return path;
  if (ellipse) path.addEllipse(r);
  else path.addRect(r);
  return path;
}

HDIB RenderShape(const WRAPPERBLOCK& b, bool ellipse) {
  const auto& S = b.Shape;
  const RECT box = Normal(S.Box);
  if (box.left < 0 || box.top < 0) return nullptr;
  HDIB mask = NewMask(static_cast<long long>(box.right) + 4, static_cast<long long>(box.bottom) + 4, b.Palette);
  BITMAPINFOHEADER* h = LockDib(mask);
  if (!h) return nullptr;
  const QRectF outer(box.left, box.top, box.right - box.left, box.bottom - box.top);
  const bool fill = S.FillValue != WRAPPER_NONE && (S.FillValue & 255) != 0;
  const bool outline = S.OutlineValue != WRAPPER_NONE && S.LineThickness > 0;
  if ((fill || outline) && !outer.isEmpty()) {
    QImage img = OverMask(h);
    QPainter p(&img);
    PreparePainter(p, b.Antialias != 0);
    p.setPen(Qt::NoPen);
    // The fill covers the whole box, so that no seam opens between it and an
    // outline laid over it.
    if (fill) p.fillPath(ShapePath(ellipse, outer), CoverageColour(S.FillValue));
    if (outline) {
      // The outline lies inside the box: its outer edge is the box's edge.
      const double t = std::min(S.LineThickness, kMaxLineThickness);
      QPainterPath ring = ShapePath(ellipse, outer);
      const QRectF inner = outer.adjusted(t, t, -t, -t);
      if (inner.width() > 0 && inner.height() > 0) {
        ring.addPath(ShapePath(ellipse, inner));
        ring.setFillRule(Qt::OddEvenFill);
      }
      p.fillPath(ring, CoverageColour(S.OutlineValue));
    }
  }
  FinishMask(h);
  return mask;
}

// ---- Polygon -------------------------------------------------------------------

HDIB RenderPolygon(const WRAPPERBLOCK& b) {
  const auto& P = b.Polygon;
  if (P.VertexCount < 1 || !P.Vertices) return nullptr;
  const int t = std::clamp(P.LineThickness, 0, kMaxLineThickness);
  long long minX = P.Vertices[0].x, maxX = minX, minY = P.Vertices[0].y, maxY = minY;
  for (int i = 1; i < P.VertexCount; ++i) {
    minX = std::min<long long>(minX, P.Vertices[i].x);
    maxX = std::max<long long>(maxX, P.Vertices[i].x);
    minY = std::min<long long>(minY, P.Vertices[i].y);
    maxY = std::max<long long>(maxY, P.Vertices[i].y);
  }
  RECT f = Normal(P.Frame);
  long long frameW = static_cast<long long>(f.right) - f.left, frameD = static_cast<long long>(f.bottom) - f.top;
  if (frameW <= 0 && frameD <= 0) {
    // No frame given: the figure's own, inflated by the thickness.
    frameW = maxX - minX + 2LL * t;
    frameD = maxY - minY + 2LL * t;
  }
  HDIB mask = NewMask(frameW + 8, frameD + 8, b.Palette);
  BITMAPINFOHEADER* h = LockDib(mask);
  if (!h) return nullptr;
  // The figure sits in the middle of its frame, whatever corner the caller
  // moved it to: the frame is the figure's box inflated by the thickness, so
  // this lands it exactly where it was drawn.
  const double ox = 4 + std::floor((frameW - (maxX - minX)) / 2.0) - minX + 0.5;
  const double oy = 4 + std::floor((frameD - (maxY - minY)) / 2.0) - minY + 0.5;
  QPolygonF poly;
  poly.reserve(P.VertexCount);
  for (int i = 0; i < P.VertexCount; ++i) poly << QPointF(P.Vertices[i].x + ox, P.Vertices[i].y + oy);

  const bool fill = P.FillValue != WRAPPER_NONE && (P.FillValue & 255) != 0 && P.VertexCount >= 3;
  const bool outline = P.OutlineValue != WRAPPER_NONE && (P.OutlineValue & 255) != 0 && t > 0;
  if (fill || outline) {
    QImage img = OverMask(h);
    QPainter p(&img);
    PreparePainter(p, b.Antialias != 0);
    if (fill) {
      QPainterPath path;
      path.addPolygon(poly);
      path.closeSubpath();
      path.setFillRule(P.FillMode == POLYFILL_WINDING ? Qt::WindingFill : Qt::OddEvenFill);
      p.fillPath(path, CoverageColour(P.FillValue));
    }
    if (outline) {
      if (P.VertexCount == 1) {
        p.setPen(Qt::NoPen);
        p.setBrush(CoverageColour(P.OutlineValue));
        p.drawEllipse(poly[0], t / 2.0, t / 2.0);
      } else {
        p.setPen(QPen(CoverageColour(P.OutlineValue), t, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(Qt::NoBrush);
        p.drawPolygon(poly);
      }
    }
  }
  FinishMask(h);
  return mask;
}

// ---- Characters ------------------------------------------------------------------

struct FontEntry {
  QFont font;
  int ascent = 0, descent = 0;
};

std::mutex fontMutex;
std::map<std::tuple<std::string, int, int, int, int, int>, FontEntry> fontCache;
bool substitutionsInstalled = false;
bool cleanupRegistered = false;

// Fonts belong to the application object's font database; let them go with it.
void DropFontsWithApplication() {
  std::lock_guard<std::mutex> lock(fontMutex);
  fontCache.clear();
  cleanupRegistered = false;
}

// Faces the program's settings name by default, and their metric twins.
void InstallSubstitutions() {
  if (substitutionsInstalled) return;
  substitutionsInstalled = true;
  QFont::insertSubstitutions(QStringLiteral("Arial"), {QStringLiteral("Liberation Sans"), QStringLiteral("Arimo")});
  QFont::insertSubstitutions(QStringLiteral("Helvetica"), {QStringLiteral("Liberation Sans")});
  QFont::insertSubstitutions(QStringLiteral("Times New Roman"),
                             {QStringLiteral("Liberation Serif"), QStringLiteral("Tinos")});
  QFont::insertSubstitutions(QStringLiteral("Courier New"),
                             {QStringLiteral("Liberation Mono"), QStringLiteral("Cousine")});
}

bool HaveGuiApplication() { return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr; }

QString FamilyOf(const char* name) {
  QString family = name && *name ? QString::fromLocal8Bit(name).trimmed() : QString();
  return family.isEmpty() ? QStringLiteral("Arial") : family;
}

QFont MakeFont(const QString& family, int bold, int italic, int underline, bool antialias) {
  QFont font(family);
  font.setWeight(bold ? QFont::Bold : QFont::Normal);
  font.setItalic(italic != 0);
  font.setUnderline(underline != 0);
  font.setStyleStrategy(antialias ? QFont::PreferAntialias : QFont::NoAntialias);
  font.setKerning(false);  // characters are laid out one by one anyway
  return font;
}

// The font for a request, from the cache. The size is a cell height (ascent
// plus descent) when positive and a character height (the em) when negative.
const FontEntry* FindFont(const char* name, int size, int bold, int italic, int underline, bool antialias) {
  InstallSubstitutions();
  if (size == 0) size = 16;
  size = std::clamp(size, -kMaxFontPixels, kMaxFontPixels);
  const std::string key = name ? name : "";
  auto k = std::make_tuple(key, size, bold != 0, italic != 0, underline != 0, antialias ? 1 : 0);
  auto it = fontCache.find(k);
  if (it != fontCache.end()) return &it->second;
  if (fontCache.size() > 64) fontCache.clear();
  if (!cleanupRegistered) {
    qAddPostRoutine(DropFontsWithApplication);
    cleanupRegistered = true;
  }

  const QString family = FamilyOf(name);
  QFont font = MakeFont(family, bold, italic, underline, antialias);
  int pixels = -size;
  if (size > 0) {
    // Scale the em so that ascent plus descent make the cell height.
    QFont probe = font;
    probe.setPixelSize(1000);
    const QFontMetricsF m(probe);
    const double cell = m.ascent() + m.descent();
    pixels = cell > 0 ? static_cast<int>(std::lround(size * 1000.0 / cell)) : size;
  }
  font.setPixelSize(std::max(1, pixels));
  if (size > 0) {
    // Hinting rounds ascent and descent separately; settle on the largest em
    // whose cell still fits the size asked for.
    auto cellOf = [&font](int px) {
      QFont f = font;
      f.setPixelSize(px);
      const QFontMetrics m(f);
      return m.ascent() + m.descent();
    };
    int px = font.pixelSize();
    while (px > 1 && cellOf(px) > size) --px;
    while (cellOf(px + 1) <= size) ++px;
    font.setPixelSize(px);
  }
  const QFontMetrics metrics(font);
  FontEntry entry{font, metrics.ascent(), metrics.descent()};
  return &fontCache.emplace(k, entry).first->second;
}

// The one character: UTF-8, or a single byte of the Latin-1 range when the
// bytes aren't valid UTF-8.
QString CharacterText(const char* text) {
  if (!text || !*text) return {};
  const QByteArray bytes(text);
  QString s = QString::fromUtf8(bytes);
  if (s.contains(QChar::ReplacementCharacter) && !bytes.contains("\xEF\xBF\xBD")) s = QString::fromLatin1(bytes);
  return s;
}

// Draws the character's coverage into a fresh mask of width by depth, the
// cell's top at the top of the mask.
HDIB CharacterMask(const FontEntry& fe, const QString& text, long long width, long long depth, std::uint32_t value,
                   bool antialias, const BYTE* palette) {
  HDIB mask = NewMask(width, depth, palette);
  BITMAPINFOHEADER* h = LockDib(mask);
  if (!h) return nullptr;
  if ((value & 255) != 0 && !text.isEmpty()) {
    QImage img = OverMask(h);
    QPainter p(&img);
    PreparePainter(p, antialias);
    p.setCompositionMode(QPainter::CompositionMode_SourceOver);
    p.setFont(fe.font);
    p.setPen(CoverageColour(static_cast<std::int32_t>(value)));
    p.drawText(QPointF(0, fe.ascent), text);
  }
  FinishMask(h);
  return mask;
}

// Blends a colour through a mask into a locked surface at (x, y), clipped, with
// the program's coverage blend.
bool BlendMask(BITMAPINFOHEADER* surface, const BITMAPINFOHEADER* m, int x0, int y0, COLORREF colour) {
  const int bits = surface->biBitCount;
  if (bits != 24 && bits != 32 && bits != 8) return false;
  const int k[3] = {GetBValue(colour), GetGValue(colour), GetRValue(colour)};
  const int step = bits / 8;
  for (int y = 0; y < m->biHeight; ++y) {
    const long long sy = static_cast<long long>(y0) + y;
    if (sy < 0 || sy >= surface->biHeight) continue;
    const BYTE* src = DibRow(m, y);
    BYTE* dst = DibRow(surface, static_cast<int>(sy));
    for (int x = 0; x < m->biWidth; ++x) {
      const int c = src[x];
      const long long sx = static_cast<long long>(x0) + x;
      if (c == 0 || sx < 0 || sx >= surface->biWidth) continue;
      BYTE* px = dst + static_cast<std::size_t>(sx) * step;
      if (bits == 8) {
        px[0] = static_cast<BYTE>(px[0] * (255 - c) / 255 + k[2] * c / 255);
      } else {
        for (int ch = 0; ch < 3; ++ch) px[ch] = static_cast<BYTE>(px[ch] * (255 - c) / 255 + k[ch] * c / 255);
      }
    }
  }
  return true;
}

WRAPPERRESULT RenderCharacter(WRAPPERBLOCK& b) {
  WRAPPERRESULT out;
  auto& C = b.Character;
  if (!HaveGuiApplication()) return out;  // no font database without one
  std::lock_guard<std::mutex> lock(fontMutex);
  const bool antialias = b.Antialias != 0;
  const FontEntry* fe =
      FindFont(C.TextFontName, C.TextFontSize, C.TextFontBold, C.TextFontItal, C.TextFontUnder, antialias);
  const QString text = CharacterText(C.Character);
  const QFontMetrics metrics(fe->font);
  const int advance = text.isEmpty() ? 0 : metrics.horizontalAdvance(text);
  const int height = fe->ascent + fe->descent;

  if (C.Mode == CHARACTER_MEASURE) {
    C.Advance = advance;
    C.LineHeight = height;
    C.Ascent = fe->ascent;
    out.Value = 1;
    return out;
  }
  if (C.Mode != CHARACTER_MASK && C.Mode != CHARACTER_DRAW) return out;

  // The cell: the advance by the line height, as asked for in mask mode. Ink
  // that reaches past the advance (italics, some capitals) widens it rather
  // than being cut off.
  long long width = C.Mode == CHARACTER_MASK && C.Advance > 0 ? C.Advance : advance;
  long long depth = C.Mode == CHARACTER_MASK && C.LineHeight > 0 ? C.LineHeight : height;
  if (!text.isEmpty()) width = std::max<long long>(width, metrics.boundingRect(text).right() + 2);
  width = std::max<long long>(width, 1);
  depth = std::max<long long>(depth, 1);

  if (C.Mode == CHARACTER_MASK) {
    out.Dib = CharacterMask(*fe, text, width, depth, C.Value, antialias, b.Palette);
    return out;
  }
  if (!C.Surface) return out;
  HDIB mask = CharacterMask(*fe, text, width, depth, 255, antialias, nullptr);
  const BITMAPINFOHEADER* m = LockDib(mask);
  if (m && BlendMask(C.Surface, m, C.X, C.Y, C.Value)) out.Value = 1;
  return out;
}

}  // namespace

std::string ResolvedFontFamily(const char* name, int bold, int italic) {
  if (!HaveGuiApplication()) return {};
  std::lock_guard<std::mutex> lock(fontMutex);
  InstallSubstitutions();
  const QFontInfo info(MakeFont(FamilyOf(name), bold, italic, 0, true));
  return info.family().toStdString();
}

WRAPPERRESULT OCHLWRPR_proc(WRAPPERBLOCK* block) {
  WRAPPERRESULT out;
  if (!block) return out;
  WRAPPERBLOCK& b = *block;
  switch (b.Operation) {
    case WRAPPER_START: {
      // The font substitutions need the font database, which needs the
      // application object; without one they are installed at first use.
      if (HaveGuiApplication()) {
        std::lock_guard<std::mutex> lock(fontMutex);
        InstallSubstitutions();
      }
      out.Value = 1;
      return out;
    }
    case WRAPPER_END: {
      std::lock_guard<std::mutex> lock(fontMutex);
      fontCache.clear();
      out.Value = 1;
      return out;
    }
    case WRAPPER_LINE: out.Dib = RenderLine(b); break;
    case WRAPPER_ELLIPSE: out.Dib = RenderShape(b, true); break;
    case WRAPPER_RECTANGLE: out.Dib = RenderShape(b, false); break;
    case WRAPPER_POLYGON: out.Dib = RenderPolygon(b); break;
    case WRAPPER_CHARACTER: return RenderCharacter(b);
    case WRAPPER_GRADIENT: {
      const auto& G = b.Gradient;
      out.Dib = RenderBasicGradient(G.Width, G.Depth, G.GradientType, G.StartColour, G.EndColour, G.Angle, G.Bits,
                                    G.CenterX, G.CenterY);
      break;
    }
    default: break;
  }
  return out;
}

}  // namespace ochrel
