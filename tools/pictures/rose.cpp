// A rose from above, painted petal over petal.
#include <algorithm>
#include <array>

#include "paint.h"

namespace paint {

namespace {

constexpr int kPetals = 46;
const Point kLight = {-0.55, -0.83};  // from the upper left

struct Petal {
  Point middle, outward;
  double reach = 0;  ///< half its length
  double width = 0;  ///< half its width
  double shade = 0;
  int number = 0;
};

/// From the outermost to the heart: ever smaller, ever steeper, each a golden angle on.
std::array<Petal, kPetals> makePetals() {
  std::array<Petal, kPetals> petals;
  for (int i = 0; i < kPetals; ++i) {
    Petal& petal = petals[size_t(i)];
    const double inward = double(i) / (kPetals - 1);
    const double open = 1 - inward;
    petal.outward = direction(0.381966 * i + 0.03 * (chance(i, 1, 5) - 0.5));
    petal.reach = 0.012 + 0.27 * open * (0.62 + 0.38 * open) * (0.93 + 0.14 * chance(i, 2, 5));
    petal.width = petal.reach * (1.02 + 0.22 * chance(i, 3, 5));
    petal.middle = petal.reach * (0.62 - 0.16 * inward) * petal.outward;
    petal.shade = 0.80 + 0.26 * chance(i, 4, 5) - 0.12 * inward;
    petal.number = i;
  }
  return petals;
}

/// Where a point lies with respect to a petal.
struct PetalPlace {
  double distance = 0;  ///< signed, to the outline
  double outward = 0;   ///< -1 at the base, 1 at the tip
  double sideways = 0;  ///< -1 to 1
  double rim = 0;       ///< 0 in the middle, 1 on the outline
};

PetalPlace place(const Petal& petal, Point p) {
  const Point from = p - petal.middle;
  PetalPlace result;
  result.outward = dot(from, petal.outward) / petal.reach;
  result.sideways = dot(from, across(petal.outward)) / petal.width;
  // Petals end in a slight point, and no outline is quite even.
  const double point =
      0.05 * std::clamp(result.outward, 0.0, 1.2) * clamp01(1 - std::abs(result.sideways));
  const double uneven =
      0.055 * fractal({2.2 * result.outward + 11.0 * petal.number, 2.2 * result.sideways}, 3, 40);
  result.rim = length({result.outward, result.sideways}) * (1 - point + uneven);
  result.distance = (result.rim - 1) * std::min(petal.reach, petal.width);
  return result;
}

Colour petalColour(const Petal& petal, const PetalPlace& at, Point p) {
  // A cup: dark in its depth, its rim turned over into the light.
  const double depth = ramp(-0.9, 0.95, at.outward);
  Colour colour = mix({0.30, 0.0, 0.03}, {0.83, 0.05, 0.11}, depth);
  const Point slope = at.outward * petal.outward + at.sideways * across(petal.outward);
  const double lit = dot(slope, kLight) * at.rim;
  colour = (petal.shade * (0.86 + 0.30 * lit)) * colour;
  const double curl = ramp(0.80, 0.97, at.rim) * ramp(-0.3, 0.5, at.outward);
  colour = mix(colour, {0.96, 0.30, 0.36}, 0.42 * curl * (0.55 + 0.55 * lit));
  const double fold = ramp(0.985, 1.0, at.rim);
  colour = (1 - 0.45 * fold * (lit < 0 ? 1 : 0.3)) * colour;
  // Veins fan out from the base; between them the skin glistens.
  const double fan = at.sideways / (1.6 + at.outward);
  const double veins = noise({34 * fan + 9.0 * petal.number, 1.2 * at.outward}, 60) +
                       0.6 * noise({80 * fan, 2.5 * at.outward + petal.number}, 61);
  const double velvet = fractal(45.0 * p + petal.middle, 4, 70, 0.8);
  return (1 + 0.07 * veins + 0.21 * velvet) * colour;
}

/// The rose over what lies behind it.
Colour paintFlower(Colour colour, Point p, double pixel) {
  static const std::array<Petal, kPetals> petals = makePetals();
  if (length(p) > 0.5) return colour;
  std::array<PetalPlace, kPetals> places;
  size_t lowest = kPetals;  // that can be seen: the next one up hides the others
  while (lowest > 0 && (lowest == kPetals || places[lowest].distance > -pixel)) {
    --lowest;
    places[lowest] = place(petals[lowest], p);
  }
  for (size_t i = lowest; i < kPetals; ++i) {
    const Petal& petal = petals[i];
    const double throwing = 0.014 + 0.16 * petal.reach;
    if (places[i].distance > 0 && places[i].distance < 2 * throwing) {
      const double shadow = place(petal, p + 0.5 * throwing * kLight).distance;
      colour = (1 - 0.62 * ramp(throwing, -throwing, shadow)) * colour;
    }
    const double covered = cover(places[i].distance, pixel);
    if (covered > 0) colour = mix(colour, petalColour(petal, places[i], p), covered);
  }
  return colour;
}

struct Leaf {
  Point stem, along;
  double length = 0, width = 0;
  unsigned seed = 0;
};

const std::array<Leaf, 7> kLeaves = {{
    {{-0.20, 0.10}, direction(0.43), 0.50, 0.135, 1},
    {{0.18, 0.16}, direction(0.10), 0.50, 0.130, 2},
    {{0.20, -0.14}, direction(-0.075), 0.48, 0.120, 3},
    {{-0.19, -0.16}, direction(0.575), 0.46, 0.125, 4},
    {{0.05, 0.22}, direction(0.215), 0.36, 0.115, 5},
    {{-0.10, 0.22}, direction(0.325), 0.40, 0.120, 6},
    {{0.02, -0.24}, direction(-0.21), 0.30, 0.100, 7},
}};

Colour leafColour(const Leaf& leaf, double along, double aside, Point p) {
  // Side veins leave the middle one at an angle and bend forwards.
  const double veinAt = along * 9 - std::abs(aside) * (2.6 - 0.9 * std::abs(aside));
  const double toVein = std::abs(veinAt - std::floor(veinAt) - 0.5) / 9;
  const double side = ramp(0.010, 0.001, toVein) * ramp(0, 0.15, std::abs(aside));
  const double middle = ramp(0.045, 0.012, std::abs(aside));
  const double arch = aside < 0 ? 1.08 : 0.84;  // its halves face different ways
  const double puff = 0.16 * wave(veinAt - 0.1);
  const double cells = ridges(70.0 * p, 4, 80 + leaf.seed, 0.75) - 0.5;
  const double patches = fractal(7.0 * p, 4, 90 + leaf.seed);
  Colour colour = mix({0.13, 0.36, 0.10}, {0.28, 0.52, 0.14}, 0.5 + 0.5 * patches);
  colour = (arch + puff + 0.55 * cells) * colour;
  const double shine = ramp(0.25, 0.6, noise(5.0 * p, 99)) * ramp(0.0, -0.6, aside);
  colour = colour + (0.20 * shine) * Colour{0.7, 0.85, 0.9};
  return mix(colour, {0.47, 0.62, 0.27}, 0.8 * std::max(middle, side));
}

Colour paintLeaf(Colour colour, const Leaf& leaf, Point p, double pixel) {
  const Point from = p - leaf.stem;
  const double bend = dot(from, leaf.along) / leaf.length;
  const double aside = dot(from, across(leaf.along)) + 0.05 * bend * bend;
  if (bend < -0.1 || bend > 1.1 || std::abs(aside) > 1.8 * leaf.width) return colour;
  const double along = clamp01(bend);
  const double teeth = along * 17 - std::floor(along * 17);
  const double swell = 4 * along * (1 - along) * (1.25 - 0.5 * along);
  const double smooth = std::max(1e-4, leaf.width * swell);
  const double half = smooth * (0.95 + 0.09 * (1 - teeth));
  const double beyond = std::max({0.0, bend - 1, -bend}) * leaf.length;
  const double shadow = std::max(std::abs(aside) - smooth, 0.0) + beyond;
  colour = (1 - 0.55 * ramp(0.03, -0.005, shadow)) * colour;
  const double covered = cover(std::max(std::abs(aside) - half, beyond), pixel);
  return covered > 0 ? mix(colour, leafColour(leaf, along, aside / half, p), covered) : colour;
}

/// A hedge: layers of small leaves, the nearer the larger and the lighter.
Colour paintHedge(Point p, double pixel) {
  const double broad = fractal(2.5 * p, 3, 10);
  Colour colour = (0.7 + 0.5 * fractal(60.0 * p, 3, 15, 0.7)) * Colour{0.05, 0.09, 0.04};
  for (int layer = 0; layer < 4; ++layer) {
    const unsigned seed = 20 + 10 * unsigned(layer);
    const double cell = 0.026 + 0.010 * layer;
    const int cx = static_cast<int>(std::floor(p.x / cell));
    const int cy = static_cast<int>(std::floor(p.y / cell));
    for (int k = 0; k < 9; ++k) {
      const int x = cx + k % 3 - 1, y = cy + k / 3 - 1;
      const Point at{(x + chance(x, y, seed)) * cell, (y + chance(x, y, seed + 1)) * cell};
      const Point from = (1 / cell) * (p - at);
      const Point along = direction(chance(x, y, seed + 2));
      const double u = dot(from, along), v = dot(from, across(along));
      const double distance = (length({u, 2.1 * v + 0.5 * u * u}) - 0.72) * cell * 0.5;
      if (distance > pixel) continue;
      const double vein = ramp(0.07, 0.02, std::abs(v + 0.24 * u * u));
      const double side = u * 5 - std::abs(v) * 6;
      const double ribs = 0.12 * wave(side) + 0.30 * noise(9.0 * from, seed + 3);
      const double lit = 0.75 - 0.5 * dot(across(along), kLight) * (v < 0 ? -0.7 : 1) + ribs;
      const Colour green = mix({0.06, 0.17, 0.05}, {0.25, 0.36, 0.11}, chance(x, y, seed + 4));
      const double light = (0.45 + 0.20 * layer + 0.35 * broad) * lit;
      colour =
          mix(colour, light * mix(green, {0.45, 0.55, 0.28}, 0.5 * vein), cover(distance, pixel));
    }
  }
  return colour;
}

/// Drops of water: a lens each, dark where the light enters and bright where it leaves.
Colour paintDrops(Colour colour, Point p, double pixel) {
  for (int i = 0; i < 34; ++i) {
    const Point turned = direction(0.381966 * i * 2.3);
    const Point at = (0.07 + 0.31 * chance(i, 1, 30)) * turned;
    const double radius = 0.0045 + 0.013 * chance(i, 2, 30) * chance(i, 3, 30);
    const Point from = (1 / radius) * (p - at);
    const double r = length(from);
    if (r > 2) continue;
    const double under = length(from + 0.45 * kLight);
    if (r > 1) colour = (1 - 0.45 * ramp(1.25, 0.8, under)) * colour;
    const double inside = cover((r - 1) * radius, pixel);
    const double through = dot(from, kLight);
    Colour lens = mix(1.45 * colour, 0.50 * colour, clamp01(0.5 + 0.6 * through));
    lens = mix(lens, {1, 0.97, 0.95}, ramp(0.30, 0.12, length(from - 0.45 * kLight)));
    colour = mix(colour, lens, inside);
  }
  return colour;
}

}  // namespace

Picture paintRose() {
  return render(1200, 840, {1.5, 0.4}, [](Point p, double pixel) {
    Colour colour = paintHedge(p, pixel);
    for (const Leaf& leaf : kLeaves) colour = paintLeaf(colour, leaf, p, pixel);
    return paintDrops(paintFlower(colour, p, pixel), p, pixel);
  });
}

}  // namespace paint
