// Options from a program's arguments: one table row a key.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "jpeg2000.h"

namespace j2k {
namespace {

using Text = std::string_view;

template <typename Number>
bool number(Text text, Number low, Number high, Number& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && value >= low && value <= high;
}

/// Calls item(text) for what stands between commas; @return whether all were taken.
template <typename Item>
bool forEachItem(Text list, const Item& item) {
  while (true) {
    const size_t comma = list.find(',');
    if (!item(list.substr(0, comma))) return false;
    if (comma == Text::npos) return true;
    list.remove_prefix(comma + 1);
  }
}

bool numbers(Text text, double low, double high, std::vector<double>& values) {
  values.clear();
  return forEachItem(text, [&](Text item) {
    double value = 0;
    if (!number(item, low, high, value)) return false;
    values.push_back(value);
    return true;
  });
}

bool pair(Text text, char between, int low, int& first, int& second) {
  const size_t at = text.find(between);
  return at != Text::npos && number(text.substr(0, at), low, INT32_MAX, first) &&
         number(text.substr(at + 1), low, INT32_MAX, second);
}

/// WxH+X+Y
bool window(Text text, Window& w) {
  const size_t plus = text.find('+');
  return plus != Text::npos && pair(text.substr(0, plus), 'x', 1, w.width, w.height) &&
         pair(text.substr(plus + 1), '+', 0, w.x, w.y);
}

bool sizes(Text text, std::vector<Window>& list) {
  list.clear();
  return forEachItem(text, [&](Text item) {
    Window w;
    if (!pair(item, 'x', 1, w.width, w.height)) return false;
    list.push_back(w);
    return true;
  });
}

template <typename Value, size_t N>
bool oneOf(Text text, const char* const (&names)[N], Value& value) {
  const auto* const found = std::find(std::begin(names), std::end(names), text);
  if (found == std::end(names)) return false;
  value = Value(found - std::begin(names));
  return true;
}

bool style(Text text, int& value) {
  static constexpr const char* names[] = {"bypass", "reset",    "termall",
                                          "causal", "predterm", "segsym"};
  value = 0;
  return forEachItem(text, [&](Text item) {
    int bit = 0;
    if (!oneOf(item, names, bit)) return false;
    value |= 1 << bit;
    return true;
  });
}

bool letter(Text text, Text letters, char& value) {
  if (text.size() != 1 || letters.find(text[0]) == Text::npos) return false;
  value = text[0];
  return true;
}

bool wavelet(Text text, Options& o) {
  static constexpr const char* names[] = {"wt53", "wt97"};
  o.waveletGiven = true;
  return oneOf(text, names, o.wavelet);
}

constexpr const char* progressNames[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};

bool progress(Text text, Options& o) { return oneOf(text, progressNames, o.progress); }

bool change(Text text, ProgressChange& c) {
  int* const fields[] = {&c.firstResolution, &c.firstComponent, &c.endLayer, &c.endResolution,
                         &c.endComponent};
  for (int* const field : fields) {
    const size_t comma = text.find(',');
    if (comma == Text::npos || !number(text.substr(0, comma), 0, 65535, *field)) return false;
    text.remove_prefix(comma + 1);
  }
  return oneOf(text, progressNames, c.progress);
}

bool changes(Text text, std::vector<ProgressChange>& list) {
  list.clear();
  while (true) {
    const size_t slash = text.find('/');
    if (!change(text.substr(0, slash), list.emplace_back())) return false;
    if (slash == Text::npos) return true;
    text.remove_prefix(slash + 1);
  }
}

/// Of dots an inch, one number for both directions or two.
bool resolution(Text text, Options& o) {
  std::vector<double> values;
  if (!numbers(text, 0.1, 1e6, values) || values.size() > 2) return false;
  constexpr double inchesAMetre = 1 / 0.0254;
  o.resolutionX = values.front() * inchesAMetre;
  o.resolutionY = values.back() * inchesAMetre;
  return true;
}

struct Key {
  const char* name;
  const char* value;  ///< what is expected; null: none is taken
  bool (*set)(Options&, Text);
};

bool notEmpty(Text text, std::string& value) {
  value = text;
  return !value.empty();
}

constexpr Key keys[] = {
    {"i", "FILE", [](Options& o, Text v) { return notEmpty(v, o.input); }},
    {"o", "FILE", [](Options& o, Text v) { return notEmpty(v, o.output); }},
    {"ratio", "R[,R...], each at least 1",
     [](Options& o, Text v) { return numbers(v, 1.0, 1e9, o.ratios); }},
    {"psnr", "DB[,DB...]", [](Options& o, Text v) { return numbers(v, 1.0, 150.0, o.psnr); }},
    {"wlev", "0..32", [](Options& o, Text v) { return number(v, 0, 32, o.levels); }},
    {"wt", "wt53 or wt97", [](Options& o, Text v) { return wavelet(v, o); }},
    {"mct", "mct+ or mct-",
     [](Options& o, Text v) {
       static constexpr const char* names[] = {"mct-", "mct+"};
       return oneOf(v, names, o.transform);
     }},
    {"mct+", nullptr, [](Options& o, Text) { return o.transform = 1, true; }},
    {"mct-", nullptr, [](Options& o, Text) { return o.transform = 0, true; }},
    {"tile", "WxH", [](Options& o, Text v) { return pair(v, 'x', 1, o.tileWidth, o.tileHeight); }},
    {"prec", "WxH[,WxH...]", [](Options& o, Text v) { return sizes(v, o.precincts); }},
    {"cblk", "WxH",
     [](Options& o, Text v) { return pair(v, 'x', 4, o.blockWidth, o.blockHeight); }},
    {"style", "bypass,reset,termall,causal,predterm,segsym or some of them",
     [](Options& o, Text v) { return style(v, o.style); }},
    {"layers", "1..65535", [](Options& o, Text v) { return number(v, 1, 65535, o.layers); }},
    {"prog", "LRCP, RLCP, RPCL, PCRL or CPRL", [](Options& o, Text v) { return progress(v, o); }},
    {"poc", "R,C,ENDL,ENDR,ENDC,ORDER[/...]",
     [](Options& o, Text v) { return changes(v, o.changes); }},
    {"roi", "WxH+X+Y", [](Options& o, Text v) { return window(v, o.roi); }},
    {"sop", nullptr, [](Options& o, Text) { return o.sop = true; }},
    {"eph", nullptr, [](Options& o, Text) { return o.eph = true; }},
    {"tlm", nullptr, [](Options& o, Text) { return o.tlm = true; }},
    {"plt", nullptr, [](Options& o, Text) { return o.plt = true; }},
    {"parts", "R, L or C", [](Options& o, Text v) { return letter(v, "RLC", o.tileParts); }},
    {"packed", "M or T", [](Options& o, Text v) { return letter(v, "MT", o.packedHeaders); }},
    {"derived", nullptr, [](Options& o, Text) { return o.derivedSteps = true; }},
    {"offset", "X,Y", [](Options& o, Text v) { return pair(v, ',', 0, o.offsetX, o.offsetY); }},
    {"icc", "FILE", [](Options& o, Text v) { return notEmpty(v, o.profile); }},
    {"xml", "FILE", [](Options& o, Text v) { return notEmpty(v, o.xml); }},
    {"uuid", "FILE", [](Options& o, Text v) { return notEmpty(v, o.uuid); }},
    {"res", "DPI[,DPI]", [](Options& o, Text v) { return resolution(v, o); }},
    {"reduce", "0..32", [](Options& o, Text v) { return number(v, 0, 32, o.reduce); }},
    {"maxlayers", "1..65535", [](Options& o, Text v) { return number(v, 1, 65535, o.maxLayers); }},
    {"component", "0..16383", [](Options& o, Text v) { return number(v, 0, 16383, o.component); }},
    {"crop", "WxH+X+Y", [](Options& o, Text v) { return window(v, o.crop); }},
    {"strict", nullptr, [](Options& o, Text) { return o.strict = true; }},
    {"srgb", nullptr, [](Options& o, Text) { return o.srgb = true; }},
    {"linf+", nullptr, [](Options& o, Text) { return o.listing = true; }},
    {"linf-", nullptr, [](Options& o, Text) { return o.listing = false, true; }},
    {"memory", "MIB",
     [](Options& o, Text v) { return number<int64_t>(v, 1, int64_t(1) << 30, o.memoryMiB); }},
    {"threads", "1..256", [](Options& o, Text v) { return number(v, 1, 256, o.threads); }},
    {"bench", "N", [](Options& o, Text v) { return number(v, 1, 1000000, o.bench); }},
};

}  // namespace

Status parseOptions(int argc, const char* const* argv, Options& options, std::string& error) {
  for (int i = 1; i < argc; ++i) {
    Text name = argv[i];
    if (!name.empty() && name[0] == '-') name.remove_prefix(1);
    // A number may follow this one.
    if (name == "diag") {
      options.listDiagnostics = true;
      if (i + 1 < argc && number<int>(argv[i + 1], 0, 999, options.diagnostic)) ++i;
      continue;
    }
    const Key* const key = std::find_if(std::begin(keys), std::end(keys),
                                        [name](const Key& k) { return name == k.name; });
    if (key == std::end(keys)) {
      error = std::string("unknown key ") + argv[i];
      return Status::failed;
    }
    Text value;
    if (key->value != nullptr) {
      if (i + 1 >= argc) {
        error = std::string("-") + key->name + " wants " + key->value;
        return Status::failed;
      }
      value = argv[++i];
    }
    if (!key->set(options, value)) {
      error = std::string("-") + key->name + " wants " + key->value + ", not " + std::string(value);
      return Status::failed;
    }
  }
  return Status::ok;
}

}  // namespace j2k
