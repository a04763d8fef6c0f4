#include "tools/shellprobe/MenuPanel.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "tools/shellprobe/Canvas.h"

namespace veskard {
namespace {

// In pixels of a screen with 96 dots per inch.
constexpr int kRowHeight = 32;
constexpr int kSeparatorHeight = 9;
constexpr int kPadding = 4;
constexpr int kIconLeft = 14;
constexpr int kTextLeft = 44;
constexpr int kTextRight = 44;
constexpr int kIcon = 16;
constexpr double kCorner = 8;
constexpr double kRowCorner = 4;

using UniqueFont = Owner<SystemResource<HFONT, &::DeleteObject>>;

double ScreenScale() {
  const UniqueScreenDc screen(::GetDC(nullptr));
  return ::GetDeviceCaps(screen.Get(), LOGPIXELSX) / 96.0;
}

UniqueFont MakeMenuFont() {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = sizeof metrics;
  ::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
  metrics.lfMenuFont.lfQuality = ANTIALIASED_QUALITY;
  return UniqueFont(::CreateFontIndirectW(&metrics.lfMenuFont));
}

/// Selects an object into a context for its lifetime.
class Selected {
 public:
  Selected(HDC context, HGDIOBJ object) : context_(context), before_(::SelectObject(context, object)) {}
  ~Selected() { ::SelectObject(context_, before_); }
  Selected(const Selected&) = delete;
  Selected& operator=(const Selected&) = delete;

 private:
  HDC context_;
  HGDIOBJ before_;
};

int TextWidth(HDC context, const std::wstring& text) {
  SIZE size = {};
  ::GetTextExtentPoint32W(context, text.c_str(), static_cast<int>(text.size()), &size);
  return size.cx;
}

COLORREF ToColorRef(uint32_t rgb) {
  return RGB(rgb >> 16 & 0xFF, rgb >> 8 & 0xFF, rgb & 0xFF);
}

uint32_t Mix(uint32_t under, uint32_t over, double share) {
  const auto channel = [&](unsigned shift) {
    const double from = under >> shift & 0xFF;
    const double to = over >> shift & 0xFF;
    return static_cast<uint32_t>(std::lround(from + (to - from) * share)) << shift;
  };
  return channel(16) | channel(8) | channel(0);
}

// Which share of the pixel a rounded rectangle covers, by the distance to its edge.
double Coverage(const RECT& area, double radius, double x, double y) {
  const double halfWidth = (area.right - area.left) / 2.0;
  const double halfHeight = (area.bottom - area.top) / 2.0;
  const double beyondX = std::abs(x - area.left - halfWidth) - halfWidth + radius;
  const double beyondY = std::abs(y - area.top - halfHeight) - halfHeight + radius;
  const double corner = std::hypot(std::max(beyondX, 0.0), std::max(beyondY, 0.0));
  const double distance = corner + std::min(std::max(beyondX, beyondY), 0.0) - radius;
  return std::clamp(0.5 - distance, 0.0, 1.0);
}

// How far a point is from the line between two others.
double Distance(double x, double y, double fromX, double fromY, double toX, double toY) {
  const double alongX = toX - fromX, alongY = toY - fromY;
  const double part = ((x - fromX) * alongX + (y - fromY) * alongY) / (alongX * alongX + alongY * alongY);
  const double t = std::clamp(part, 0.0, 1.0);
  return std::hypot(x - fromX - t * alongX, y - fromY - t * alongY);
}

/// Draws panels into one canvas.
class PanelPainter {
 public:
  PanelPainter(const PanelColours& colours, double scale)
      : colours_(colours), scale_(scale), font_(MakeMenuFont()) {}

  SIZE Measure(const std::vector<PanelRow>& rows) {
    Canvas canvas(1, 1);
    const Selected font(canvas.Context(), font_.Get());
    int width = 0;
    int height = 2 * Scaled(kPadding);
    for (const PanelRow& row : rows) {
      width = std::max(width, TextWidth(canvas.Context(), row.text));
      height += HeightOf(row);
    }
    return {width + Scaled(kTextLeft + kTextRight), height};
  }

  /// Where the open row begins, from the panel's top; 0 without one.
  int TopOfOpenRow(const std::vector<PanelRow>& rows) const {
    int top = 0;
    for (const PanelRow& row : rows) {
      if (row.isOpen) return top;
      top += HeightOf(row);
    }
    return 0;
  }

  void Start(int width, int height) {
    width_ = width;
    height_ = height;
    canvas_.emplace(width, height);
    canvas_->Fill(colours_.border | 0xFF000000);
  }

  void Paint(const std::vector<PanelRow>& rows, const RECT& area) {
    areas_.push_back(area);
    RECT inside = area;
    const int border = std::max(1, Scaled(1) / 2);
    ::InflateRect(&inside, -border, -border);
    Fill(inside, scale_ * kCorner - border, colours_.ground);
    RECT place = {area.left, area.top + Scaled(kPadding), area.right, area.top + Scaled(kPadding)};
    for (const PanelRow& row : rows) {
      place.top = place.bottom;
      place.bottom += HeightOf(row);
      PaintRow(row, place);
    }
  }

  Picture Finish() {
    Picture picture = canvas_->Copy();
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        uint32_t& pixel = picture.pixels[Index(x, y)];
        pixel = (pixel & 0xFFFFFF) | static_cast<uint32_t>(std::lround(255 * Opacity(x, y))) << 24;
      }
    }
    return picture;
  }

  int Scaled(int pixels) const { return static_cast<int>(std::lround(pixels * scale_)); }

 private:
  int HeightOf(const PanelRow& row) const { return Scaled(row.text.empty() ? kSeparatorHeight : kRowHeight); }
  size_t Index(int x, int y) const {
    return static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
  }

  double Opacity(int x, int y) const {
    double opacity = 0;
    for (const RECT& area : areas_)
      opacity = std::max(opacity, Coverage(area, scale_ * kCorner, x + 0.5, y + 0.5));
    return opacity;
  }

  /// Mixes a colour into the pixels of an area, each by the share that `shareOf` answers.
  template <class Share>
  void Blend(const RECT& area, uint32_t colour, Share shareOf) {
    ::GdiFlush();
    for (int y = area.top; y < area.bottom; ++y) {
      for (int x = area.left; x < area.right; ++x) {
        uint32_t& pixel = canvas_->Pixels()[Index(x, y)];
        pixel = Mix(pixel, colour, shareOf(x + 0.5, y + 0.5));
      }
    }
  }

  void Fill(const RECT& area, double radius, uint32_t colour) {
    Blend(area, colour, [&](double x, double y) { return Coverage(area, radius, x, y); });
  }

  void PaintRow(const PanelRow& row, const RECT& place) {
    if (row.text.empty()) return PaintSeparator(place);
    if (row.isOpen) {
      RECT mark = place;
      ::InflateRect(&mark, -Scaled(kPadding), -Scaled(1));
      Fill(mark, scale_ * kRowCorner, colours_.open);
    }
    PaintIcon(row, place);
    PaintText(row, place);
    if (row.leadsOn) PaintChevron(place);
  }

  void PaintSeparator(const RECT& place) {
    const int middle = (place.top + place.bottom) / 2;
    const int border = std::max(1, Scaled(1) / 2);
    Fill({place.left + border, middle, place.right - border, middle + border}, 0, colours_.open);
  }

  void PaintIcon(const PanelRow& row, const RECT& place) {
    const int left = place.left + Scaled(kIconLeft);
    const int top = (place.top + place.bottom - row.icon.height) / 2;
    const double share = row.isGreyed ? 0.4 : 1.0;
    for (int y = 0; y < row.icon.height; ++y) {
      for (int x = 0; x < row.icon.width; ++x) {
        const uint32_t over = row.icon.pixels[static_cast<size_t>(y) * static_cast<size_t>(row.icon.width) +
                                              static_cast<size_t>(x)];
        uint32_t& pixel = canvas_->Pixels()[Index(left + x, top + y)];
        pixel = Mix(pixel, over, share * (over >> 24) / 255.0);
      }
    }
  }

  void PaintText(const PanelRow& row, const RECT& place) {
    const Selected font(canvas_->Context(), font_.Get());
    ::SetBkMode(canvas_->Context(), TRANSPARENT);
    ::SetTextColor(canvas_->Context(), ToColorRef(row.isGreyed ? colours_.greyed : colours_.text));
    RECT area = {place.left + Scaled(kTextLeft), place.top, place.right, place.bottom};
    ::DrawTextW(canvas_->Context(), row.text.c_str(), static_cast<int>(row.text.size()), &area,
                DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_NOCLIP);
  }

  void PaintChevron(const RECT& place) {
    const double right = place.right - 16 * scale_;
    const double middle = (place.top + place.bottom) / 2.0;
    const double arm = 4 * scale_;
    const RECT area = {place.right - Scaled(24), place.top, place.right - Scaled(12), place.bottom};
    Blend(area, colours_.text, [&](double x, double y) {
      const double upper = Distance(x, y, right - arm, middle - arm, right, middle);
      const double lower = Distance(x, y, right - arm, middle + arm, right, middle);
      return std::clamp(scale_ * 0.5 + 0.5 - std::min(upper, lower), 0.0, 1.0);
    });
  }

  const PanelColours& colours_;
  double scale_;
  UniqueFont font_;
  int width_ = 0;
  int height_ = 0;
  std::optional<Canvas> canvas_;
  std::vector<RECT> areas_;
};

}  // namespace

int PanelIconSize() {
  return static_cast<int>(std::lround(kIcon * ScreenScale()));
}

Picture DrawPanels(const std::vector<PanelRow>& menu, const std::vector<PanelRow>& flyOut,
                   const PanelColours& colours) {
  PanelPainter painter(colours, ScreenScale());
  const SIZE size = painter.Measure(menu);
  const SIZE side = flyOut.empty() ? SIZE{0, 0} : painter.Measure(flyOut);
  const int left = size.cx + painter.Scaled(2);
  const int top = painter.TopOfOpenRow(menu);
  const int bottom = std::max<int>(size.cy, top + side.cy);
  painter.Start(flyOut.empty() ? size.cx : left + side.cx, flyOut.empty() ? size.cy : bottom);
  painter.Paint(menu, {0, 0, size.cx, size.cy});
  if (!flyOut.empty()) painter.Paint(flyOut, {left, top, left + side.cx, top + side.cy});
  return painter.Finish();
}

}  // namespace veskard
