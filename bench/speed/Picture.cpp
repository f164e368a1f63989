// The picture of the speed report: for each kernel a bar an engine, on a logarithmic scale.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "bench/speed/Report.h"

namespace vx::bench {

namespace {

constexpr int kLeft = 150, kTop = 62, kWidth = 640, kRight = 70;
constexpr int kBarHeight = 10, kGroupGap = 12;
constexpr f64 kLowestRate = 50, kHighestRate = 50'000;  // millions a second
constexpr const char* kColours[kWhoCount] = {"#8a6d3b", "#c8102e", "#5b7fa6", "#9a9a9a"};

__attribute__((format(printf, 2, 3))) void Append(std::string& text, const char* format, ...) {
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  text += line;
}

f64 PlaceOf(f64 millions) {
  const f64 place = std::log(millions / kLowestRate) / std::log(kHighestRate / kLowestRate);
  return std::min(1.0, std::max(0.0, place)) * kWidth;
}

void AppendLegend(std::string& svg) {
  int x = kLeft;
  for (const EWho who : kEveryone) {
    Append(svg, "<rect x=\"%d\" y=\"34\" width=\"12\" height=\"12\" fill=\"%s\"/>", x,
           kColours[static_cast<u32>(who)]);
    Append(svg, "<text x=\"%d\" y=\"44\">%s</text>\n", x + 17, NameOf(who));
    x += 140;
  }
}

void AppendGrid(std::string& svg, int bottom) {
  for (const int millions : {50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000, 50000}) {
    const f64 x = kLeft + PlaceOf(millions);
    Append(svg, "<line x1=\"%.1f\" y1=\"%d\" x2=\"%.1f\" y2=\"%d\" stroke=\"#dddddd\"/>", x, kTop,
           x, bottom);
    Append(svg, "<text x=\"%.1f\" y=\"%d\" text-anchor=\"middle\" fill=\"#666666\">%d</text>\n", x,
           bottom + 15, millions);
  }
}

// Answers where the next group begins.
template <typename TRate>
int AppendGroup(std::string& svg, int y, const char* name, const char* weight, TRate rate) {
  int bars = 0;
  std::string body;
  for (const EWho who : kEveryone) {
    const std::optional<f64> millions = rate(who);
    if (!millions) continue;
    const int top = y + bars++ * kBarHeight;
    const f64 width = PlaceOf(*millions);
    Append(body, "<rect x=\"%d\" y=\"%d\" width=\"%.1f\" height=\"%d\" fill=\"%s\"/>", kLeft, top,
           width, kBarHeight - 1, kColours[static_cast<u32>(who)]);
    Append(body, "<text x=\"%.1f\" y=\"%d\" font-size=\"9\">%.0f</text>\n", kLeft + width + 4,
           top + 8, *millions);
  }
  Append(svg, "<text x=\"%d\" y=\"%d\" text-anchor=\"end\" font-weight=\"%s\">%s</text>\n",
         kLeft - 8, y + bars * kBarHeight / 2 + 4, weight, name);
  svg += body;
  return y + bars * kBarHeight + kGroupGap;
}

}  // namespace

std::string PictureOf(const SFigures& figures) {
  std::string bars;
  int y = kTop + 8;
  for (u32 i = 0; i < kKernelCount; ++i) {
    y = AppendGroup(bars, y, kKernelRows[i].name, "normal",
                    [&](EWho who) { return MillionsASecond(figures.kernels[i], who); });
  }
  y = AppendGroup(bars, y, "mean of integer", "bold",
                  [&](EWho who) { return MeanMillions(figures, EKernelKind::Integer, who); });

  std::string svg;
  Append(svg,
         "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
         "font-family=\"sans-serif\" font-size=\"12\">\n"
         "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n"
         "<text x=\"%d\" y=\"20\" font-size=\"14\" font-weight=\"bold\">"
         "Millions of guest instructions a second</text>\n",
         kLeft + kWidth + kRight, y + 24, kLeft);
  AppendLegend(svg);
  AppendGrid(svg, y);
  return svg + bars + "</svg>\n";
}

}  // namespace vx::bench
