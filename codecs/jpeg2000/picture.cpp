// Components to pixels, and samples of any depth to what a file format holds.
#include "picture.h"

#include <algorithm>
#include <cmath>

#include "geometry.h"

namespace j2k {

std::vector<Channel> applyPalette(std::vector<Channel> components, const ColourBoxes& boxes,
                                  Reporter& report) {
  if (boxes.palette.empty()) return components;
  std::vector<ColourBoxes::Mapping> mappings = boxes.mappings;
  if (mappings.empty()) {
    report.warn(Diag::boxMissing, "cmap");
    for (size_t c = 0; c < boxes.palette.size(); ++c) mappings.push_back({0, int(c)});
  }
  std::vector<Channel> channels;
  bool outside = false;
  for (const ColourBoxes::Mapping& m : mappings) {
    if (m.component >= int(components.size()) || m.column >= int(boxes.palette.size())) {
      fail(Diag::badPalette, "mapping to component " + std::to_string(m.component) + ", column " +
                                 std::to_string(m.column));
    }
    Channel channel = components[size_t(m.component)];
    if (m.column >= 0) {
      const std::vector<int32_t>& column = boxes.palette[size_t(m.column)];
      for (int32_t& v : channel.samples) {
        outside = outside || v < 0 || v >= int(column.size());
        v = column[size_t(std::clamp<int32_t>(v, 0, int32_t(column.size()) - 1))];
      }
      const int depth = boxes.paletteDepths[size_t(m.column)];
      channel.precision = std::abs(depth);
      channel.isSigned = depth < 0;
    }
    channels.push_back(std::move(channel));
  }
  if (outside) report.warn(Diag::paletteIndex);
  return channels;
}

int orderChannels(std::vector<Channel>& channels, const ColourBoxes& boxes, Reporter& report) {
  const int count = int(channels.size());
  if (boxes.definitions.empty()) return count;
  std::vector<int> colours(size_t(count), -1), others;
  std::vector<bool> seen(size_t(count), false);
  bool good = true;
  for (const ColourBoxes::Definition& d : boxes.definitions) {
    if (d.channel >= count || seen[size_t(d.channel)]) {
      good = false;
      continue;
    }
    seen[size_t(d.channel)] = true;
    const bool colour = d.type == 0 && d.association >= 1 && d.association <= count;
    if (!colour) {
      others.push_back(d.channel);
    } else if (colours[size_t(d.association) - 1] >= 0) {
      good = false;
    } else {
      colours[size_t(d.association) - 1] = d.channel;
    }
  }
  std::erase(colours, -1);
  good = good && int(colours.size() + others.size()) == count && !colours.empty();
  if (!good) {
    report.warn(Diag::badChannels);
    return count;
  }
  std::vector<Channel> ordered;
  ordered.reserve(channels.size());
  for (const int c : colours) ordered.push_back(std::move(channels[size_t(c)]));
  for (const int c : others) ordered.push_back(std::move(channels[size_t(c)]));
  channels = std::move(ordered);
  return int(colours.size());
}

void enlarge(Channel& channel, const PictureInfo& info) {
  if (channel.width == info.width && channel.height == info.height) return;
  std::vector<int32_t> out(size_t(info.width) * size_t(info.height));
  if (channel.width > 0 && channel.height > 0) {
    // The sample of a pixel is the one at its place or next before it.
    const auto sampleAt = [](int64_t origin, int step, int i, int count) {
      const int64_t at = (origin + i) / step - ceilDiv(origin, step);
      return size_t(std::clamp<int64_t>(at, 0, count - 1));
    };
    for (int y = 0; y < info.height; ++y) {
      const size_t row = sampleAt(info.originY, channel.dy, y, channel.height);
      const int32_t* const src = &channel.samples[row * size_t(channel.width)];
      int32_t* const dst = &out[size_t(y) * size_t(info.width)];
      for (int x = 0; x < info.width; ++x) {
        dst[x] = src[sampleAt(info.originX, channel.dx, x, channel.width)];
      }
    }
  }
  channel.samples = std::move(out);
  channel.width = info.width;
  channel.height = info.height;
  channel.dx = channel.dy = 1;
}

void convertLumaChroma(std::vector<Channel>& channels) {
  Channel *const y = channels.data(), *const cb = y + 1, *const cr = y + 2;
  const double high = std::ldexp(1.0, y->precision) - 1;
  const auto centre = [](const Channel& c) {
    return c.isSigned ? 0.0 : std::ldexp(1.0, c.precision - 1);
  };
  const double centreB = centre(*cb), centreR = centre(*cr);
  for (size_t i = 0; i < y->samples.size(); ++i) {
    const double luma = y->samples[i], b = cb->samples[i] - centreB, r = cr->samples[i] - centreR;
    const auto stored = [high](double v) { return int32_t(std::lrint(std::clamp(v, 0.0, high))); };
    y->samples[i] = stored(luma + 1.402 * r);
    cb->samples[i] = stored(luma - 0.344136 * b - 0.714136 * r);
    cr->samples[i] = stored(luma + 1.772 * b);
  }
  cb->isSigned = cr->isSigned = false;
}

bool plainPixels(const PictureInfo& info, const ColourBoxes& boxes) {
  const size_t count = info.components.size();
  if (!boxes.palette.empty() || (count != 1 && count != 3) || info.colour == ColourSpace::sycc ||
      info.colour == ColourSpace::other) {
    return false;
  }
  for (size_t i = 0; i < boxes.definitions.size(); ++i) {
    const ColourBoxes::Definition& d = boxes.definitions[i];
    if (d.type != 0 || d.channel + 1 != d.association) return false;
  }
  return std::all_of(info.components.begin(), info.components.end(), [&](const ComponentInfo& c) {
    return c.precision == 8 && !c.isSigned && c.width == info.width && c.height == info.height;
  });
}

namespace {

void decodeComponents(Decoder& decoder, std::vector<Channel>& channels) {
  std::vector<SampleView> views;
  channels.reserve(decoder.info().components.size());
  for (const ComponentInfo& c : decoder.info().components) {
    Channel channel{c.width, c.height, c.dx, c.dy, c.precision, c.isSigned, {}};
    channel.samples.resize(size_t(c.width) * size_t(c.height));
    channels.push_back(std::move(channel));
  }
  views.reserve(channels.size());
  for (Channel& c : channels) {
    views.push_back({c.samples.data(), SampleType::s32, 1, ptrdiff_t(c.width) * 4});
  }
  if (decoder.decode(views) != Status::ok) throw Status::failed;
}

void openOrThrow(Decoder& decoder, std::span<const uint8_t> file) {
  if (decoder.open(file) != Status::ok) throw Status::failed;
}

/// Channels of four bytes a sample take more than the components alone.
void checkMemory(const Options& options, const PictureInfo& info) {
  double samples = 0;
  for (const ComponentInfo& c : info.components) samples += double(c.width) * c.height;
  const double whole = double(info.width) * info.height * double(info.components.size());
  if (std::max(samples, whole) * 4 > double(options.memoryMiB) * 1048576) {
    fail(Diag::memoryLimit,
         "channels of " + std::to_string(info.width) + " x " + std::to_string(info.height));
  }
}

int32_t scaled(int64_t v, const Channel& c, int depth) {
  if (c.isSigned) v += int64_t(1) << (c.precision - 1);
  const int64_t high = (int64_t(1) << c.precision) - 1;
  v = std::clamp<int64_t>(v, 0, high);
  if (c.precision > depth) return int32_t(v >> (c.precision - depth));
  if (c.precision < depth) return int32_t((v * ((int64_t(1) << depth) - 1) + high / 2) / high);
  return int32_t(v);
}

void interleave(const std::vector<Channel>& channels, Pixels& pixels) {
  const size_t count = size_t(pixels.width) * size_t(pixels.height);
  const size_t stride = size_t(pixels.channels), wide = pixels.depth > 8 ? 2 : 1;
  pixels.bytes.resize(count * stride * wide);
  for (size_t c = 0; c < stride; ++c) {
    const Channel& channel = channels[c];
    if (wide == 1) {
      uint8_t* const dst = pixels.bytes.data() + c;
      for (size_t i = 0; i < count; ++i) {
        dst[i * stride] = uint8_t(scaled(channel.samples[i], channel, pixels.depth));
      }
    } else {
      uint16_t* const dst = reinterpret_cast<uint16_t*>(pixels.bytes.data()) + c;
      for (size_t i = 0; i < count; ++i) {
        dst[i * stride] = uint16_t(scaled(channel.samples[i], channel, pixels.depth));
      }
    }
  }
}

void coloursFrom(std::vector<Channel>& channels, int colours, Reporter& report,
                 const Decoder& decoder) {
  const PictureInfo& info = decoder.info();
  for (Channel& c : channels) enlarge(c, info);
  if (info.colour == ColourSpace::sycc && colours >= 3) convertLumaChroma(channels);
  if (info.colour == ColourSpace::other) {
    report.warn(Diag::colourAsIs, std::to_string(info.enumeratedColour));
  }
}

}  // namespace

Status decodeChannels(const Options& options, Diagnostics& diagnostics,
                      std::span<const uint8_t> file, std::vector<Channel>& channels,
                      PictureInfo& info) {
  Reporter report(diagnostics, options.strict);
  return guarded(report, [&] {
    Decoder decoder(options, diagnostics);
    openOrThrow(decoder, file);
    info = decoder.info();
    checkMemory(options, info);
    channels.clear();
    decodeComponents(decoder, channels);
    if (options.component < 0)
      channels = applyPalette(std::move(channels), decoder.colours(), report);
  });
}

Status decodePixels(const Options& options, Diagnostics& diagnostics, std::span<const uint8_t> file,
                    int mostDepth, Pixels& pixels, PictureInfo& info) {
  Reporter report(diagnostics, options.strict);
  return guarded(report, [&] {
    Decoder decoder(options, diagnostics);
    openOrThrow(decoder, file);
    info = decoder.info();
    pixels = {info.width, info.height, int(info.components.size()), 8, {}};
    if (plainPixels(info, decoder.colours())) {
      pixels.bytes.resize(size_t(info.width) * size_t(info.height) * size_t(pixels.channels));
      std::vector<SampleView> views;
      views.reserve(size_t(pixels.channels));
      for (int c = 0; c < pixels.channels; ++c) {
        views.push_back({pixels.bytes.data() + c, SampleType::u8, pixels.channels,
                         ptrdiff_t(info.width) * pixels.channels});
      }
      if (decoder.decode(views) != Status::ok) throw Status::failed;
      return;
    }
    checkMemory(options, info);
    std::vector<Channel> channels;
    decodeComponents(decoder, channels);
    int colours = int(channels.size());
    if (options.component < 0) {
      channels = applyPalette(std::move(channels), decoder.colours(), report);
      colours = orderChannels(channels, decoder.colours(), report);
      coloursFrom(channels, colours, report, decoder);
    } else {
      // A component by itself is a picture of its own size.
      pixels.width = channels[0].width;
      pixels.height = channels[0].height;
    }
    if (channels.size() > 4) {
      fail(Diag::unsuitedOutput, std::to_string(channels.size()) + " components");
    }
    pixels.channels = int(channels.size());
    int depth = 8;
    for (const Channel& c : channels) depth = std::max(depth, c.precision);
    pixels.depth = std::min(depth, mostDepth);
    interleave(channels, pixels);
  });
}

}  // namespace j2k
