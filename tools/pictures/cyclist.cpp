// A cyclist: tubes for the bicycle and the limbs, rings for the wheels.
#include "cyclist.h"

#include <algorithm>
#include <array>

namespace paint {

namespace {

constexpr double kWheel = 0.100;  ///< radius, with the tyre
constexpr Point kRear = {-0.130, -kWheel}, kFront = {0.145, -kWheel};
constexpr Point kCrank = {-0.008, -0.083};
constexpr Point kSaddle = {-0.063, -0.236}, kHead = {0.103, -0.228}, kBars = {0.142, -0.250};
constexpr Point kHip = {-0.058, -0.262}, kShoulder = {0.074, -0.358};
constexpr double kThigh = 0.128, kShin = 0.122;

/// What is painted, at one place in the cyclist's own units.
struct Brush {
  Point p;
  double pixel;
  Colour colour;

  void fill(Colour with, double distance) { colour = mix(colour, with, cover(distance, pixel)); }
  /// A round body, lit from the upper left.
  void tube(Colour with, const Tube& body, double gloss = 0.25) {
    tube(with, with, 2, body, gloss);
  }
  /// The same with a hem of another colour from a part of its length on.
  void tube(Colour with, Colour hem, double from, const Tube& body, double gloss) {
    const TubePlace at = place(body, p);
    const double covered = cover(at.distance, pixel);
    if (covered <= 0) return;
    const Point axis = body.to - body.from;
    const Point normal = (at.aside / length(axis)) * across(axis);
    const double facing = std::sqrt(1 - at.aside * at.aside);
    const double lit = -0.45 * normal.x - 0.70 * normal.y + 0.55 * facing;
    Colour shaded = (0.52 + 0.58 * std::max(0.0, lit)) * (at.along < from ? with : hem);
    shaded = mix(shaded, {1, 1, 1}, gloss * ramp(0.80, 1.0, lit));
    colour = mix(colour, shaded, covered);
  }
};

void paintWheel(Brush& brush, Point hub, double turn) {
  const double radius = length(brush.p - hub);
  if (radius > kWheel + brush.pixel) return;
  for (int spoke = 0; spoke < 20; ++spoke) {
    const Point out = direction(turn + spoke / 20.0);
    const Point start = hub + (spoke % 2 != 0 ? 0.007 : -0.007) * across(out);
    const double distance = place({start, hub + 0.088 * out, 0.0007, 0.0005}, brush.p).distance;
    brush.fill(grey(0.80), distance);
  }
  const double lit = dot(brush.p - hub, {-0.5, -0.8}) / kWheel;
  brush.fill((0.75 + 0.25 * lit) * Colour{0.86, 0.87, 0.90}, std::abs(radius - 0.088) - 0.0034);
  brush.fill(grey(0.10 + 0.05 * lit), std::abs(radius - 0.0955) - 0.0045);
  brush.fill(grey(0.30), std::abs(radius - 0.0985) - 0.0006);
  brush.fill(grey(0.55 + 0.2 * lit), radius - 0.008);
}

void paintFrame(Brush& brush, const Cyclist& cyclist) {
  const Point seat = kCrank + 0.80 * (kSaddle - kCrank);
  const double thin = 0.0042, thick = 0.0068;
  brush.tube(cyclist.frame, {kRear, kCrank, thin, thin});
  brush.tube(cyclist.frame, {kRear, seat, thin, thin});
  brush.tube(grey(0.75), {kCrank + 0.75 * (kSaddle - kCrank), kSaddle, 0.0045, 0.0045});
  brush.tube(cyclist.frame, {kCrank, seat, thick, thick});
  const Point lower = kHead + Point{0.008, 0.030};
  brush.tube(cyclist.frame, {kCrank, lower, 1.15 * thick, 1.15 * thick});
  brush.tube(cyclist.frame, {seat, kHead + Point{0.002, 0.008}, thick, thick});
  brush.tube(grey(0.14), {lower, kFront, 0.0060, 0.0038});
  brush.tube(cyclist.frame, {kHead, lower, 0.0080, 0.0080});
  brush.tube(grey(0.18), {kHead, kBars, 0.0045, 0.0045});
  brush.tube(grey(0.12), {kBars, kBars + Point{0.020, 0.010}, 0.0048, 0.0042});
  brush.tube(grey(0.12), {kBars + Point{0.020, 0.010}, kBars + Point{0.012, 0.036}, 0.0042, 0.004});
  brush.tube(grey(0.10),
             {kSaddle + Point{-0.030, -0.004}, kSaddle + Point{0.028, -0.002}, 0.0075, 0.0035});
}

/// Where the knee is when hip and foot are given: the bend is forwards.
Point kneeOf(Point hip, Point foot) {
  const Point span = foot - hip;
  const double far = std::min(length(span), 0.999 * (kThigh + kShin));
  const double along = (far * far + kThigh * kThigh - kShin * kShin) / (2 * far);
  const double out = std::sqrt(std::max(0.0, kThigh * kThigh - along * along));
  const Point unit = (1 / length(span)) * span;
  return hip + along * unit - out * across(unit);
}

void paintLeg(Brush& brush, const Cyclist& cyclist, double crank, double shade) {
  const Point pedal = kCrank + 0.044 * direction(crank);
  const Point ankle = pedal + Point{-0.016, -0.026};
  const Point knee = kneeOf(kHip, ankle);
  const Colour skin = shade * Colour{0.84, 0.60, 0.45};
  brush.tube(shade * grey(0.32), {kCrank, pedal, 0.0055, 0.0045});
  brush.tube(skin, {knee, ankle, 0.0190, 0.0100}, 0.1);
  brush.tube(shade * grey(0.95), {knee + 0.74 * (ankle - knee), ankle, 0.0125, 0.0110}, 0);
  brush.tube(skin, {kHip, knee, 0.0310, 0.0190}, 0.1);
  brush.tube(0.9 * shade * mix(cyclist.jersey, grey(0.06), 0.86), shade * cyclist.stripe, 0.88,
             {kHip, kHip + 0.74 * (knee - kHip), 0.0335, 0.0245, true}, 0.12);
  brush.tube(shade * grey(0.90),
             {ankle + Point{-0.006, 0.014}, pedal + Point{0.026, -0.004}, 0.0105, 0.0065});
  brush.tube(shade * Colour{0.8, 0.1, 0.1},
             {pedal + Point{-0.004, -0.003}, pedal + Point{0.010, -0.004}, 0.004, 0.003}, 0);
}

void paintTorso(Brush& brush, const Cyclist& cyclist) {
  const Tube torso{kHip + Point{0.000, -0.004}, kShoulder + Point{-0.010, 0.008}, 0.0400, 0.0365};
  const TubePlace at = place(torso, brush.p);
  Colour cloth = cyclist.jersey;
  const double bands = at.along * 4.2 + 0.10 * at.aside;
  if (bands - std::floor(bands) < 0.34 && at.along > 0.18) cloth = cyclist.stripe;
  const double creases =
      fractal({26 * at.along + 3 * at.aside, 4 * at.aside}, 3, 500 + cyclist.seed);
  const double weave = noise({brush.p.x * 900, brush.p.y * 900}, 510);
  brush.tube((1 + 0.14 * creases + 0.05 * weave) * cloth, torso, 0.08);
  // A number on the back.
  const Point tag = brush.p - Point{-0.020, -0.300};
  const Point turned{0.81 * tag.x - 0.59 * tag.y, 0.59 * tag.x + 0.81 * tag.y};
  const double plate = std::max(std::abs(turned.x) - 0.016, std::abs(turned.y) - 0.013);
  brush.fill(grey(0.97), plate);
  const double left = std::max(std::abs(turned.x + 0.006) - 0.0018, std::abs(turned.y) - 0.009);
  const double ring = std::abs(length({turned.x - 0.005, 0.75 * turned.y}) - 0.005) - 0.0016;
  brush.fill(grey(0.05), std::min(left, ring));
}

void paintArm(Brush& brush, const Cyclist& cyclist, double shade) {
  const Point elbow{0.118, -0.292};
  const Point hand = kBars + Point{0.012, -0.004};
  const Colour skin = shade * Colour{0.84, 0.60, 0.45};
  brush.tube(skin, {elbow, hand, 0.0125, 0.0085}, 0.1);
  brush.tube(skin, {kShoulder, elbow, 0.0180, 0.0130}, 0.1);
  brush.tube(shade * cyclist.jersey, shade * cyclist.stripe, 0.84,
             {kShoulder, kShoulder + 0.62 * (elbow - kShoulder), 0.0205, 0.0172, true}, 0.1);
  brush.tube(shade * grey(0.12),
             {hand + Point{-0.008, 0}, hand + Point{0.008, 0.002}, 0.0105, 0.0090}, 0.1);
}

void paintHead(Brush& brush, const Cyclist& cyclist) {
  const Point middle{0.118, -0.402};
  const Colour skin{0.86, 0.62, 0.47};
  brush.tube(0.85 * skin, {kShoulder, middle, 0.0190, 0.0170}, 0);
  brush.tube(skin, {middle + Point{-0.004, -0.004}, middle + Point{0.006, 0.010}, 0.0270, 0.0235},
             0.1);
  brush.tube(skin, {middle + Point{0.026, 0.002}, middle + Point{0.030, 0.006}, 0.0055, 0.0050},
             0.1);
  brush.fill(
      {0.45, 0.16, 0.12},
      place({middle + Point{0.018, 0.018}, middle + Point{0.026, 0.017}, 0.0018, 0.0012}, brush.p)
          .distance);
  brush.tube({0.05, 0.06, 0.09},
             {middle + Point{0.006, -0.004}, middle + Point{0.027, -0.003}, 0.0040, 0.0062}, 0.7);
  brush.fill(
      grey(0.10),
      place({middle + Point{-0.016, 0.000}, middle + Point{0.004, 0.030}, 0.0014, 0.0014}, brush.p)
          .distance);
  // The helmet: a flattened dome with slots.
  const Point q = brush.p - (middle + Point{-0.002, -0.010});
  const double dome = std::max((length({0.74 * q.x, q.y}) - 0.0300), q.y - 0.004 + 0.20 * q.x);
  const double lit = clamp01(0.55 - 9 * q.x - 14 * q.y);
  brush.fill((0.65 + 0.45 * lit) * cyclist.stripe, dome);
  for (int slot = 0; slot < 3; ++slot) {
    const Tube hole{{-0.024 + 0.004 * slot, -0.006 - 0.008 * slot},
                    {0.020 - 0.004 * slot, -0.008 - 0.0085 * slot},
                    0.0012,
                    0.0026};
    brush.fill(mix(cyclist.jersey, grey(0.02), 0.7),
               std::max(place(hole, q).distance, dome + 0.002));
  }
}

}  // namespace

Colour paintCyclist(Colour colour, const Cyclist& cyclist, Point p, double pixel) {
  Brush brush{(1 / cyclist.size) * (p - cyclist.ground), pixel / cyclist.size, colour};
  if (std::abs(brush.p.x) > 0.36 || brush.p.y < -0.47 || brush.p.y > 0.06) return colour;
  // The sun stands high behind the left shoulder.
  const Point under{brush.p.x - 0.035, (brush.p.y - 0.008) * 5.0};
  const double dark = ramp(0.26, 0.12, length({under.x, 1.3 * under.y}));
  brush.colour = (1 - 0.50 * dark) * brush.colour;
  paintArm(brush, cyclist, 0.60);
  paintLeg(brush, cyclist, cyclist.crank + 0.5, 0.62);
  paintWheel(brush, kRear, cyclist.crank * 0.37);
  paintWheel(brush, kFront, cyclist.crank * 0.51);
  paintFrame(brush, cyclist);
  const double ring = length(brush.p - kCrank);
  brush.fill(grey(0.45), std::abs(ring - 0.0215) - 0.0022);
  brush.fill(grey(0.25), ring - 0.007);
  paintLeg(brush, cyclist, cyclist.crank, 1.0);
  paintTorso(brush, cyclist);
  paintHead(brush, cyclist);
  paintArm(brush, cyclist, 1.0);
  return brush.colour;
}

}  // namespace paint
