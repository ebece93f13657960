// Pixels with an ICC profile to sRGB.
#include "srgb.h"

#if defined(TAZMET_LCMS)
#include <lcms2.h>

#include <memory>
#endif

namespace j2k {

#if defined(TAZMET_LCMS)

namespace {

struct Close {
  void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct Delete {
  void operator()(void* transform) const { cmsDeleteTransform(transform); }
};

}  // namespace

std::string convertToSrgb(const PictureInfo& info, Pixels& pixels) {
  if (info.profile.empty()) return {};
  const std::unique_ptr<void, Close> from(
      cmsOpenProfileFromMem(info.profile.data(), cmsUInt32Number(info.profile.size())));
  if (!from) return "the ICC profile is damaged";
  const bool grey = pixels.channels < 3;
  const bool fits = cmsGetColorSpace(from.get()) == (grey ? cmsSigGrayData : cmsSigRgbData);
  if (!fits) return "the ICC profile is for another number of colours";
  const std::unique_ptr<void, Close> to(cmsCreate_sRGBProfile());
  const cmsUInt32Number bytes = pixels.depth > 8 ? 2 : 1;
  const cmsUInt32Number extra =
      grey ? cmsUInt32Number(pixels.channels - 1) : cmsUInt32Number(pixels.channels - 3);
  const cmsUInt32Number source = COLORSPACE_SH(grey ? PT_GRAY : PT_RGB) |
                                 CHANNELS_SH(grey ? 1 : 3) | BYTES_SH(bytes) | EXTRA_SH(extra);
  const cmsUInt32Number target =
      COLORSPACE_SH(PT_RGB) | CHANNELS_SH(3) | BYTES_SH(bytes) | EXTRA_SH(extra);
  const std::unique_ptr<void, Delete> transform(
      cmsCreateTransform(from.get(), source, to.get(), target, INTENT_PERCEPTUAL,
                         extra > 0 ? cmsFLAGS_COPY_ALPHA : 0));
  if (!transform) return "the ICC profile cannot be converted from";
  const size_t count = size_t(pixels.width) * size_t(pixels.height);
  decltype(pixels.bytes) out(count * (3 + extra) * bytes);
  if (pixels.depth > 8 && pixels.depth < 16) return "-srgb wants 8 or 16 bits";
  cmsDoTransform(transform.get(), pixels.bytes.data(), out.data(), cmsUInt32Number(count));
  pixels.bytes = std::move(out);
  pixels.channels = int(3 + extra);
  return {};
}

#else

std::string convertToSrgb(const PictureInfo&, Pixels&) {
  return "-srgb: this build has no Little CMS";
}

#endif

}  // namespace j2k
