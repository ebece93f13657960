// Shapes and noise of the painted pictures.
#include "paint.h"

namespace paint {

Point direction(double turns) {
  // Bhaskara's formula for half a period.
  const auto sine = [](double t) {
    t -= std::floor(t);
    const double half = t < 0.5 ? 2 * t : 2 * t - 1;
    const double arch = half * (1 - half);
    const double value = 16 * arch / (5 - 4 * arch);
    return t < 0.5 ? value : -value;
  };
  return {sine(turns + 0.25), sine(turns)};
}

namespace {

uint32_t scramble(int x, int y, unsigned seed) {
  uint32_t h = uint32_t(x) * 0x85EBCA6Bu ^ uint32_t(y) * 0xC2B2AE35u ^ seed * 0x27D4EB2Fu;
  h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
  h = (h ^ (h >> 12)) * 0x297A2D39u;
  return h ^ (h >> 15);
}

/// The height that a lattice corner's slope gives at a distance from it.
double slopeAt(int x, int y, unsigned seed, double dx, double dy) {
  static constexpr Point kSlopes[] = {{1, 0},         {0.71, 0.71},   {0, 1},        {-0.71, 0.71},
                                      {-1, 0},        {-0.71, -0.71}, {0, -1},       {0.71, -0.71},
                                      {0.92, 0.38},   {0.38, 0.92},   {-0.38, 0.92}, {-0.92, 0.38},
                                      {-0.92, -0.38}, {-0.38, -0.92}, {0.38, -0.92}, {0.92, -0.38}};
  const Point& slope = kSlopes[scramble(x, y, seed) % 16];
  return slope.x * dx + slope.y * dy;
}

}  // namespace

double chance(int x, int y, unsigned seed) { return scramble(x, y, seed) / 4294967295.0; }

double noise(Point p, unsigned seed) {
  const double left = std::floor(p.x), top = std::floor(p.y);
  const int x = static_cast<int>(left), y = static_cast<int>(top);
  const double fx = p.x - left, fy = p.y - top;
  const double sx = fx * fx * fx * (fx * (6 * fx - 15) + 10);
  const double sy = fy * fy * fy * (fy * (6 * fy - 15) + 10);
  const double upper = mix(slopeAt(x, y, seed, fx, fy), slopeAt(x + 1, y, seed, fx - 1, fy), sx);
  const double lower =
      mix(slopeAt(x, y + 1, seed, fx, fy - 1), slopeAt(x + 1, y + 1, seed, fx - 1, fy - 1), sx);
  return 1.5 * mix(upper, lower, sy);
}

double fractal(Point p, int octaves, unsigned seed, double gain) {
  double sum = 0, weight = 1;
  for (int i = 0; i < octaves; ++i) {
    sum += weight * noise(p, seed + unsigned(i));
    weight *= gain;
    p = {2.02 * p.x + 3.1, 2.02 * p.y - 1.7};
  }
  return sum * (1 - gain) / (1 - weight) * 1.4;
}

double ridges(Point p, int octaves, unsigned seed, double gain) {
  double sum = 0, weight = 1, total = 0;
  for (int i = 0; i < octaves; ++i) {
    const double crest = 1 - std::abs(noise(p, seed + unsigned(i)));
    sum += weight * crest * crest;
    total += weight;
    weight *= gain;
    p = {2.05 * p.x - 2.3, 2.05 * p.y + 5.9};
  }
  return sum / total;
}

TubePlace place(const Tube& tube, Point p) {
  const Point axis = tube.to - tube.from;
  const double squared = dot(axis, axis);
  const Point from = p - tube.from;
  TubePlace result;
  const double along = dot(from, axis) / squared;
  result.along = clamp01(along);
  const double radius = mix(tube.fromRadius, tube.toRadius, result.along);
  result.distance = length(from - result.along * axis) - radius;
  if (tube.cut) result.distance = std::max(result.distance, (along - 1) * std::sqrt(squared));
  result.aside = std::clamp(dot(from, across(axis)) / (std::sqrt(squared) * radius), -1.0, 1.0);
  return result;
}

}  // namespace paint
