// Coding parameters from the options and the picture.
#include "encodeplan.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "diag.h"

namespace j2k {
namespace {

void require(bool kept, const char* what) {
  if (!kept) fail(Diag::badOptions, what);
}

ImageShape makeShape(const Options& options, const PictureInfo& info) {
  ImageShape shape;
  const int64_t x = options.offsetX, y = options.offsetY;
  require(x >= 0 && y >= 0, "offset");
  require(info.width > 0 && info.height > 0 && !info.components.empty(), "the picture is empty");
  shape.image = {x, y, x + info.width, y + info.height};
  require(shape.image.x1 <= UINT32_MAX && shape.image.y1 <= UINT32_MAX, "offset");
  const int64_t width = options.tileWidth > 0 ? options.tileWidth : shape.image.x1;
  const int64_t height = options.tileHeight > 0 ? options.tileHeight : shape.image.y1;
  // The first tile covers the picture's corner.
  const int64_t tileX = x / width * width, tileY = y / height * height;
  shape.firstTile = {tileX, tileY, tileX + width, tileY + height};
  require(info.components.size() <= 16384, "more than 16384 components");
  for (const ComponentInfo& c : info.components) {
    require(c.precision >= 1 && c.precision <= 26, "components have 1 to 26 bits");
    require(c.dx >= 1 && c.dx <= 255 && c.dy >= 1 && c.dy <= 255, "sampling");
    shape.components.push_back({c.precision, c.isSigned, c.dx, c.dy});
  }
  for (size_t c = 0; c < info.components.size(); ++c) {
    const Rect rect = shape.component(int(c));
    require(rect.width() == info.components[c].width && rect.height() == info.components[c].height,
            "component sizes do not follow from their sampling");
  }
  require(shape.tiles() <= 65535, "-tile: more than 65535 tiles");
  return shape;
}

int exponentOf(int size, const char* key) {
  require(size > 0 && std::has_single_bit(unsigned(size)), key);
  return std::bit_width(unsigned(size)) - 1;
}

Partition makePartition(const Options& options) {
  Partition p;
  require(options.levels >= 0 && options.levels <= maxLevels, "-wlev: 0 to 32 levels");
  p.levels = options.levels;
  p.blockWidth = exponentOf(options.blockWidth, "-cblk: not a power of two");
  p.blockHeight = exponentOf(options.blockHeight, "-cblk: not a power of two");
  require(p.blockWidth >= 2 && p.blockHeight >= 2 && p.blockWidth <= 10 && p.blockHeight <= 10 &&
              p.blockWidth + p.blockHeight <= 12,
          "-cblk: 4 to 1024 a side, at most 4096 in area");
  if (options.precincts.empty()) return p;
  // The last size holds for all lower resolutions.
  for (int r = p.levels; r >= 0; --r) {
    const size_t i = std::min(size_t(p.levels - r), options.precincts.size() - 1);
    const int width = exponentOf(options.precincts[i].width, "-prec: not a power of two");
    const int height = exponentOf(options.precincts[i].height, "-prec: not a power of two");
    require(width <= 15 && height <= 15 && (r == 0 || (width > 0 && height > 0)),
            "-prec: 2 to 32768 a side");
    p.precincts[size_t(r)] = uint8_t(width | height << 4);
  }
  return p;
}

/// The step nearest below what is wanted that exponent and mantissa can tell.
uint16_t encodeStep(double step, int range) {
  int exponent = 0;
  const double mantissa = std::frexp(step, &exponent);  // in [1/2, 1)
  const int e = range - (exponent - 1);
  if (e < 0) return 0x7FF;
  if (e > 31) return 31 << 11;
  return uint16_t(e << 11 | std::min(2047, int((mantissa * 2 - 1) * 2048)));
}

Quantization makeQuantization(const Options& options, int precision, bool reversible, bool chroma) {
  Quantization q;
  q.guardBits = std::clamp(options.guardBits, 1, 7);
  q.count = 3 * options.levels + 1;
  q.style = reversible             ? Quantization::none
            : options.derivedSteps ? Quantization::derived
                                   : Quantization::expounded;
  // One step of error in any band is about one level in the picture. What rate control cuts is
  // coded finer than that: it then chooses for itself.
  const bool everything = options.ratios.empty() || options.ratios.back() <= 1;
  double base = everything ? 1 : 0.25;
  for (const double dB : options.psnr) {
    // Errors of whole steps alone must stay well below what is asked for.
    const double mse = std::pow((1 << std::min(precision, 26)) - 1, 2) / std::pow(10, dB / 10);
    base = std::min(base, std::sqrt(mse) / 4);
  }
  for (int i = 0; i < q.count; ++i) {
    const int orientation = i == 0 ? 0 : (i - 1) % 3 + 1;
    const int level = i == 0 ? options.levels : options.levels - (i - 1) / 3;
    const int gain = (orientation & 1) + (orientation >> 1);
    if (reversible) {
      q.steps[size_t(i)] = uint16_t((precision + gain + (chroma ? 1 : 0)) << 11);
    } else {
      q.steps[size_t(i)] = encodeStep(base / bandNorm(false, level, orientation), precision + gain);
    }
  }
  if (q.style == Quantization::derived) q.count = 1;
  return q;
}

bool transformWanted(const Options& options, const PictureInfo& info) {
  bool alike = info.components.size() >= 3;
  for (size_t c = 1; alike && c < 3; ++c) {
    const ComponentInfo &a = info.components[0], &b = info.components[c];
    alike = a.dx == b.dx && a.dy == b.dy && a.precision == b.precision && a.isSigned == b.isSigned;
  }
  require(options.transform != 1 || alike, "-mct+ needs three components of one kind");
  return options.transform != 0 && alike && info.colour != ColourSpace::sycc;
}

std::vector<LayerGoal> makeGoals(const Options& options, const PictureInfo& info) {
  double bytes = 0, samples = 0;
  for (const ComponentInfo& c : info.components) {
    const double own = double(c.width) * c.height;
    const int bytesOfSample = (c.precision + 7) / 8;
    bytes += own * bytesOfSample;
    samples += own;
  }
  const double peak = std::ldexp(1.0, info.components[0].precision) - 1;
  std::vector<LayerGoal> goals;
  for (const double ratio : options.ratios) {
    if (ratio <= 1) {
      goals.push_back({});
    } else {
      goals.push_back({LayerGoal::bytes, bytes / ratio});
    }
  }
  for (const double dB : options.psnr) {
    // Rounding, of samples and within the reversible wavelet, takes its share; and bands are not
    // quite orthogonal, so that their errors add up to a little more than their sum.
    const double rounding = options.wavelet == Wavelet::reversible53 ? 0.4 : 0.15;
    const double mse = peak * peak / std::pow(10, dB / 10);
    goals.push_back({LayerGoal::distortion, std::max(mse - rounding, mse * 0.4) * 0.87 * samples});
  }
  require(options.ratios.empty() || options.psnr.empty(), "-ratio and -psnr together");
  if (goals.empty()) goals.push_back({});
  require(options.layers >= 1 && options.layers <= 65535, "-layers: 1 to 65535");
  // Layers that nobody described halve the bytes of the one above.
  while (int(goals.size()) < options.layers) {
    const LayerGoal& first = goals.front();
    LayerGoal before{LayerGoal::bytes, first.value / 2};
    if (first.kind == LayerGoal::everything) before.value = bytes / 4;
    if (first.kind == LayerGoal::distortion) before = {LayerGoal::distortion, first.value * 4};
    goals.insert(goals.begin(), before);
  }
  return goals;
}

void addRoi(const Options& options, EncodePlan& plan) {
  if (options.roi.empty()) return;
  const Window& w = options.roi;
  const int64_t x = plan.shape.image.x0 + w.x, y = plan.shape.image.y0 + w.y;
  plan.roi = intersection({x, y, x + w.width, y + w.height}, plan.shape.image);
  require(!plan.roi.empty(), "-roi lies outside of the picture");
  for (size_t c = 0; c < plan.coding.components.size(); ++c) {
    const Quantization& q = plan.coding.quantization[c];
    int planes = 0;
    for (int band = 0; band <= 3 * options.levels; ++band)
      planes = std::max(planes, q.planes(band));
    require(2 * planes <= 31, "-roi: components have too many bits");
    plan.coding.roiShift[c] = uint8_t(planes);
  }
}

/// Changes of progression, which must leave no packet out.
void addChanges(const Options& options, Coding& coding) {
  const int components = int(coding.components.size()), resolutions = options.levels + 1;
  for (const ProgressChange& change : options.changes) {
    Progression p;
    p.order = Order(change.progress);
    p.firstResolution = change.firstResolution;
    p.endResolution = std::min(change.endResolution, maxLevels + 1);
    p.firstComponent = change.firstComponent;
    p.endComponent = std::min(change.endComponent, components > 256 ? 16384 : 256);
    p.endLayer = change.endLayer;
    require(p.firstResolution >= 0 && p.firstResolution < p.endResolution &&
                p.firstComponent >= 0 && p.firstComponent < p.endComponent && p.endLayer > 0,
            "-poc: a stretch of no packets");
    coding.changes.push_back(p);
  }
  require(coding.changes.size() <= 5000, "-poc: more than 5000 stretches");
  if (coding.changes.empty()) return;
  for (int c = 0; c < components; ++c) {
    for (int r = 0; r < resolutions; ++r) {
      int layers = 0;
      for (const Progression& p : coding.changes) {
        const bool holds = c >= p.firstComponent && c < p.endComponent && r >= p.firstResolution &&
                           r < p.endResolution;
        if (holds) layers = std::max(layers, std::min(p.endLayer, coding.layers));
      }
      if (layers < coding.layers) {
        fail(Diag::badOptions, "-poc leaves out packets of component " + std::to_string(c) +
                                   ", resolution " + std::to_string(r));
      }
    }
  }
}

}  // namespace

EncodePlan makeEncodePlan(const Options& options, const PictureInfo& info) {
  EncodePlan plan;
  plan.shape = makeShape(options, info);
  plan.goals = makeGoals(options, info);
  plan.limited = plan.goals.back().kind != LayerGoal::everything;
  plan.threads = std::max(1, options.threads);
  const bool reversible = options.wavelet == Wavelet::reversible53;
  Coding& coding = plan.coding;
  coding.order = Order(options.progress);
  coding.layers = int(plan.goals.size());
  coding.transform = transformWanted(options, info);
  coding.sop = options.sop;
  coding.eph = options.eph;
  ComponentCoding own;
  own.partition = makePartition(options);
  own.style = options.style;
  own.reversible = reversible;
  require(own.style >= 0 && own.style < 64, "-style");
  coding.components.assign(info.components.size(), own);
  coding.roiShift.assign(info.components.size(), 0);
  for (size_t c = 0; c < info.components.size(); ++c) {
    const bool chroma = coding.transform && (c == 1 || c == 2);
    coding.quantization.push_back(
        makeQuantization(options, info.components[c].precision, reversible, chroma));
  }
  addRoi(options, plan);
  addChanges(options, coding);
  for (const auto& uuid : info.uuids) require(uuid.size() >= 16, "-uuid: fewer than 16 bytes");
  plan.memory = options.memoryMiB << 20;
  return plan;
}

}  // namespace j2k
