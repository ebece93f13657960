// Two cyclists on a mountain road.
#include <algorithm>
#include <array>

#include "cyclist.h"
#include "paint.h"

namespace paint {

namespace {

constexpr double kHorizon = -0.03;
constexpr double kRoadTop = 0.17, kRoadBottom = 0.345;

Colour paintSky(Point p) {
  Colour colour = mix({0.17, 0.40, 0.75}, {0.71, 0.84, 0.94}, ramp(-0.55, 0.02, p.y));
  // Clouds lie on a ceiling that comes down to the horizon.
  const double depth = 1 / (0.16 + std::max(0.0, kHorizon - p.y));
  const Point ceiling{p.x * depth * 0.75, depth};
  const double body = fractal(ceiling, 7, 100, 0.55);
  const double light = fractal(ceiling + Point{0.12, 0.10}, 5, 100, 0.55);
  const double thick = ramp(0.02, 0.55, body);
  const Colour cloud =
      mix({0.70, 0.74, 0.80}, {1.0, 0.99, 0.97}, clamp01(0.6 + 1.5 * (body - light)));
  return mix(colour, cloud, 0.93 * thick);
}

struct Range {
  double level, height, stretch, haze;
  bool snow;
  unsigned seed;
};
constexpr std::array<Range, 3> kRanges = {{{-0.10, 0.27, 1.6, 0.58, true, 200},
                                           {-0.07, 0.16, 2.6, 0.34, true, 220},
                                           {-0.02, 0.09, 3.6, 0.16, false, 240}}};

double skyline(const Range& range, double x) {
  const double broad = ridges({range.stretch * x, 0.5}, 7, range.seed, 0.47);
  return range.level - range.height * (broad * broad * 1.6 - 0.35);
}

Colour paintRange(Colour colour, const Range& range, Point p, double pixel) {
  const double top = skyline(range, p.x);
  const double covered = cover(top - p.y, pixel);
  if (covered <= 0) return colour;
  const Point face{p.x * 5 + 0.8 * fractal(6.0 * p, 3, range.seed + 31), p.y * 7};
  const double rock = ridges(face, 8, range.seed + 40, 0.62);
  const double other = ridges(face + Point{0.05, 0.07}, 8, range.seed + 40, 0.62);
  const double lit = clamp01(0.5 + 3.0 * (rock - other));
  Colour ground = mix({0.20, 0.20, 0.24}, {0.62, 0.57, 0.52}, lit);
  if (range.snow) {
    const double high = ramp(0.13, 0.02, p.y - top + 0.10 * (rock - 0.5));
    ground = mix(ground, mix({0.55, 0.62, 0.76}, {0.97, 0.97, 0.98}, lit), high);
  } else {
    ground = mix(ground, mix({0.10, 0.20, 0.10}, {0.30, 0.42, 0.20}, lit), 0.75);
  }
  ground = mix(ground, {0.66, 0.77, 0.89}, range.haze);
  return mix(colour, ground, covered);
}

/// Firs by the hundred: each a ragged triangle.
Colour paintForest(Colour colour, Point p, double pixel) {
  for (int row = 0; row < 4; ++row) {
    const double foot = 0.008 + 0.017 * row;
    const double spacing = 0.011 + 0.0035 * row;
    const int nearest = static_cast<int>(std::floor(p.x / spacing));
    for (int i = nearest - 2; i <= nearest + 2; ++i) {
      const auto roll = [&](int which) { return chance(i, which, 300u + unsigned(row)); };
      const double middle = (i + 0.2 + 0.6 * roll(0)) * spacing;
      const double tall = spacing * (2.2 + 3.0 * roll(1));
      const double tip = foot - tall + 0.01 * noise({5 * p.x, 3.0 * row}, 310);
      const double down = (p.y - tip) / tall;
      if (down < -0.05 || down > 1.1) continue;
      const double ragged = 0.75 + 0.5 * noise({p.x * 300, p.y * 420}, 311);
      const double half = spacing * 0.85 * clamp01(down) * ragged;
      const double covered = cover(std::abs(p.x - middle) - half, 2 * pixel);
      const double lit = clamp01(0.45 - 18 * (p.x - middle) + 0.5 * noise(320.0 * p, 312));
      const Colour fir = mix({0.04, 0.10, 0.07}, {0.20 + 0.1 * roll(2), 0.36, 0.15}, lit);
      colour = mix(colour, mix(fir, {0.55, 0.66, 0.74}, 0.18 - 0.05 * row), covered);
    }
  }
  return colour;
}

/// Flowers in the grass, larger the nearer they are.
Colour paintFlowers(Colour colour, Point p, double pixel, double near) {
  const double cell = near > 0 ? 0.021 : 0.009;
  const int cx = static_cast<int>(std::floor(p.x / cell));
  const int cy = static_cast<int>(std::floor(p.y / cell));
  for (int k = 0; k < 9; ++k) {
    const int x = cx + k % 3 - 1, y = cy + k / 3 - 1;
    if (chance(x, y, 330) > 0.38) continue;
    const Point at{(x + chance(x, y, 331)) * cell, (y + chance(x, y, 332)) * cell};
    const double radius = cell * (0.08 + 0.10 * chance(x, y, 333));
    const Point from = p - at;
    const double distance = length({from.x, 1.5 * from.y}) - radius;
    if (distance > pixel) continue;
    static constexpr Colour kPetals[] = {
        {0.90, 0.10, 0.06}, {0.97, 0.96, 0.93}, {0.98, 0.82, 0.08}, {0.55, 0.22, 0.75}};
    const Colour petal = kPetals[static_cast<int>(chance(x, y, 334) * 3.99)];
    const double shade = 1 - 0.35 * ramp(-radius, radius, from.y);
    colour = mix(colour, shade * petal, cover(distance, pixel));
  }
  return colour;
}

/// @param near  0 behind the road, 1 before it
Colour paintMeadow(Point p, double pixel, double near) {
  // Blades stand upright: fine across, long down, and coarser the nearer they are.
  const double scale = 1 / (0.0045 + 0.0055 * near);
  const double wind = 0.9 * noise({14 * p.x, 9 * p.y}, 340) + 0.5 * noise(40.0 * p, 344);
  const Point blade{p.x * scale + wind, p.y * scale * 0.22};
  const double lean = noise(blade, 341) + 0.8 * noise({2.1 * blade.x, 1.5 * blade.y}, 342) +
                      0.7 * noise({4.3 * blade.x, 2.6 * blade.y}, 343);
  const double patches = fractal({3 * p.x, 9 * p.y}, 5, 350);
  Colour colour = mix({0.16, 0.30, 0.06}, {0.47, 0.60, 0.17}, clamp01(0.5 + 0.8 * patches));
  colour = (0.92 + 0.42 * lean) * colour;
  return paintFlowers(colour, p, pixel, near);
}

Colour paintRoad(Point p, double pixel) {
  const double down = (p.y - kRoadTop) / (kRoadBottom - kRoadTop);
  const double fine = fractal({p.x * 190, p.y * 420}, 3, 360, 0.8);
  const double worn = fractal({2.4 * p.x, 20 * p.y}, 4, 370);
  Colour colour = (1 + 0.25 * fine + 0.10 * worn) * Colour{0.40, 0.40, 0.43};
  const double crack = ridges({7 * p.x, 19 * p.y}, 4, 380);
  colour = (1 - 0.55 * ramp(0.90, 0.97, crack)) * colour;
  // White lines: whole at the edges, broken in the middle.
  const double edge = std::min(std::abs(down - 0.07) - 0.018, std::abs(down - 0.93) - 0.026);
  const double dash = p.x * 2.6 - std::floor(p.x * 2.6);
  const double middle =
      std::max(std::abs(down - 0.40) - 0.017, (std::abs(dash - 0.5) - 0.28) / 2.6 * 6);
  const double line = std::min(edge, middle) * (kRoadBottom - kRoadTop);
  const double rubbed = 0.86 - 0.35 * ramp(0.1, 0.7, fractal(60.0 * p, 3, 390));
  return mix(colour, grey(0.93), rubbed * cover(line, pixel));
}

/// Posts and rails along the far side of the road.
Colour paintFence(Colour colour, Point p, double pixel) {
  if (p.y < 0.07 || p.y > 0.18) return colour;
  for (const double height : {0.098, 0.122}) {
    const double y = height + 0.0025 * noise({9 * p.x, 100 * height}, 400);
    const double distance = std::abs(p.y - y) - 0.0032;
    const double grain = 0.8 + 0.25 * noise({60 * p.x, 900 * p.y}, 401) - 40 * (p.y - y);
    colour = mix(colour, grain * Colour{0.55, 0.43, 0.30}, cover(distance, pixel));
  }
  const double spacing = 0.135;
  const int i = static_cast<int>(std::floor(p.x / spacing));
  const double middle = (i + 0.4 + 0.2 * chance(i, 0, 410)) * spacing;
  const double top = 0.083 + 0.006 * chance(i, 1, 410);
  const double distance = std::max({std::abs(p.x - middle) - 0.0065, top - p.y, p.y - 0.165});
  const double round = 0.85 - 60 * (p.x - middle) + 0.25 * noise({500 * p.x, 45 * p.y}, 411);
  return mix(colour, round * Colour{0.50, 0.38, 0.26}, cover(distance, pixel));
}

/// A road sign: the most saturated colours and the straightest edges of the picture.
Colour paintSign(Colour colour, Point p, double pixel) {
  const Point at{0.725, -0.055};
  const double post = std::max(std::abs(p.x - at.x) - 0.005, std::abs(p.y - 0.06) - 0.115);
  colour = mix(colour, (0.75 - 55 * (p.x - at.x)) * Colour{0.75, 0.77, 0.80}, cover(post, pixel));
  const Point q = p - at;
  const double plate = std::max(0.866 * std::abs(q.x) - 0.5 * q.y, q.y);
  colour = mix(colour, {0.80, 0.03, 0.05}, cover(plate - 0.043, pixel));
  colour = mix(colour, {0.98, 0.98, 0.96}, cover(plate - 0.031, pixel));
  const double bar = place({{0, -0.024}, {0, 0.006}, 0.0052, 0.0036}, q).distance;
  const double dot = length(q - Point{0, 0.019}) - 0.0048;
  return mix(colour, grey(0.05), cover(std::min(bar, dot), pixel));
}

Colour paintLand(Point p, double pixel) {
  Colour colour;
  if (p.y < 0.09) {
    colour = paintSky(p);
    for (const Range& range : kRanges) colour = paintRange(colour, range, p, pixel);
    if (p.y > -0.1) colour = paintForest(colour, p, pixel);
  }
  const double meadow = 0.052 + 0.012 * fractal({4 * p.x, 0}, 4, 420);
  const double grass = cover(meadow - p.y + 0.004 * noise({260 * p.x, 0}, 421), pixel);
  if (grass > 0) colour = mix(colour, paintMeadow(p, pixel, p.y > kRoadTop ? 1 : 0), grass);
  colour = paintFence(colour, p, pixel);
  const double sway = 0.004 * noise({50 * p.x, 0}, 422) + 0.003 * noise({400 * p.x, 0}, 423);
  const double road = cover(std::max(kRoadTop + sway - p.y, p.y - kRoadBottom - sway), 2 * pixel);
  if (road > 0) colour = mix(colour, paintRoad(p, pixel), road);
  return paintSign(colour, p, pixel);
}

const std::array<Cyclist, 2> kCyclists = {{
    {{0.36, 0.225}, 0.88, 0.11, {0.05, 0.22, 0.72}, {0.96, 0.96, 0.97}, {0.95, 0.75, 0.04}, 11},
    {{-0.30, 0.285}, 1.12, 0.31, {0.93, 0.10, 0.06}, {0.98, 0.84, 0.07}, {0.07, 0.55, 0.28}, 12},
}};

}  // namespace

Picture paintBikers() {
  return render(1920, 1080, {2.4, 1.0}, [](Point p, double pixel) {
    Colour colour = paintLand(p, pixel);
    for (const Cyclist& cyclist : kCyclists) colour = paintCyclist(colour, cyclist, p, pixel);
    return colour;
  });
}

}  // namespace paint
