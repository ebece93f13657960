/// @file
/// What the painted pictures share: colours, shapes as distances, noise, grain.
///
/// Everything is additions, products, quotients and square roots of doubles, which IEEE 754 leaves
/// no choice in, so a picture is the same bytes on every machine. That is why sines are made here.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace paint {

/// A place or direction. Pictures are one unit high; y grows downwards.
struct Point {
  double x = 0, y = 0;
  friend Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
  friend Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
  friend Point operator*(double k, Point p) { return {k * p.x, k * p.y}; }
};
inline double dot(Point a, Point b) { return a.x * b.x + a.y * b.y; }
inline double length(Point p) { return std::sqrt(dot(p, p)); }
/// A quarter turn.
inline Point across(Point p) { return {-p.y, p.x}; }

/// Red, green and blue from 0 to 1, as displays take them.
struct Colour {
  double r = 0, g = 0, b = 0;
  friend Colour operator*(double k, Colour c) { return {k * c.r, k * c.g, k * c.b}; }
  friend Colour operator+(Colour a, Colour c) { return {a.r + c.r, a.g + c.g, a.b + c.b}; }
};
inline Colour grey(double level) { return {level, level, level}; }

inline double clamp01(double t) { return std::clamp(t, 0.0, 1.0); }
inline double mix(double a, double b, double t) { return a + (b - a) * t; }
inline Colour mix(Colour a, Colour b, double t) { return (1 - t) * a + t * b; }
/// 0 at `from`, 1 at `to`, smooth in between.
inline double ramp(double from, double to, double x) {
  const double t = clamp01((x - from) / (to - from));
  return t * t * (3 - 2 * t);
}
/// How much of a pixel lies inside a shape at a signed distance (negative inside).
inline double cover(double distance, double pixel) { return clamp01(0.5 - distance / pixel); }

/// The direction after so many whole turns; within 0.2 per cent of a sine and cosine.
Point direction(double turns);
/// -1 to 1, `turns` whole periods.
inline double wave(double turns) { return direction(turns).y; }

/// Evenly spread from 0 to 1, by the place alone.
double chance(int x, int y, unsigned seed);

/// Smooth noise from about -1 to 1 with features about one unit large.
double noise(Point p, unsigned seed);
/// Octaves of it, each twice as fine and `gain` times as strong; about -1 to 1.
double fractal(Point p, int octaves, unsigned seed, double gain = 0.5);
/// The same with sharp crests, from 0 to 1.
double ridges(Point p, int octaves, unsigned seed, double gain = 0.5);

/// A tapering tube between two points.
struct Tube {
  Point from, to;
  double fromRadius = 0, toRadius = 0;
  bool cut = false;  ///< flat at `to`; else both ends are round
};
/// Where a point lies with respect to a tube.
struct TubePlace {
  double distance = 0;  ///< signed, to the surface
  double along = 0;     ///< 0 to 1
  double aside = 0;     ///< -1 to 1 from side to side
};
TubePlace place(const Tube& tube, Point p);

/// Sensor noise of a photograph in 8-bit levels: spread of brightness, and of each colour.
struct Grain {
  double brightness = 0, colour = 0;
};

/// A picture as rows of R, G, B.
struct Picture {
  int width = 0, height = 0;
  std::vector<uint8_t> samples;
};

/// Paints every pixel by `shade(place, pixel size)`; the middle of the picture is the origin.
template <class Shade>
Picture render(int width, int height, Grain grain, Shade shade) {
  Picture picture{width, height, {}};
  picture.samples.reserve(size_t(width) * size_t(height) * 3);
  const double pixel = 1.0 / height;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Point at{(x + 0.5 - width / 2.0) * pixel, (y + 0.5 - height / 2.0) * pixel};
      const Colour colour = shade(at, pixel);
      const auto spread = [&](unsigned seed) {
        return chance(x, y, seed) + chance(x, y, seed + 1) - 1;
      };
      const double bright = grain.brightness * spread(900);
      unsigned seed = 910;
      for (const double level : {colour.r, colour.g, colour.b}) {
        const double value = level * 255 + bright + grain.colour * spread(seed += 2) + 0.5;
        picture.samples.push_back(static_cast<uint8_t>(std::clamp(value, 0.0, 255.0)));
      }
    }
  }
  return picture;
}

/// A rose among its leaves: smooth shading, saturated red, drops.
Picture paintRose();
/// Two cyclists on a mountain road: sharp edges, grass, rock, sky.
Picture paintBikers();

}  // namespace paint
