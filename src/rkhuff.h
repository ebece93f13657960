#pragma once
/// @file
/// What the Huffman suites share: pictures as coefficients, the standard's tables, and coders, one
/// set for each binding.

#include <cstdint>
#include <type_traits>

#include "base/owner.h"
#include "rkbitvector.h"
#include "rkd/rkdjpeg.h"
#include "rkd/rkds.h"
#include "rksuite.h"

/// The two lists of a DHT segment.
struct rkHuffTable {
  const uint8_t* bits;
  const uint8_t* values;
};
/// The typical luminance tables of ITU-T T.81, K.3 and K.5.
extern const rkHuffTable rkStandardDC;
extern const rkHuffTable rkStandardAC;

/// Parameter "Picture": what the coefficients come from.
enum rkPicture : int {
  rkPictureJaehne = 0,  ///< a zone plate of magnitude 100, not quantised
  rkPicturePhoto = 1,   ///< a made-up photograph at quality 75
  rkPictureRose = 2,    ///< a sample picture at quality 75, its middle
  rkPictureBikers = 3
};
extern tzMapIterator<int> g_huffPicture;

/// The coefficients of a picture, 64 a block, block by block.
class rkHuffCoefs {
 public:
  /// Makes the picture and its transform, and tells at level INFO how many coefficients differ from
  /// zero.
  bool create(RkdiSize size, int picture);
  void flush();

  int16_t* data() const { return m_coefs.data16s(); }
  int total() const { return m_coefs.length(); }
  const rkImage& image() const { return m_image; }
  rkImage& image() { return m_image; }

 private:
  bool transform(int picture);

  rkImage m_image;
  rkVector m_coefs;
};

/// Parameter "Size" of functions whose clocks an element do not depend on the height of a picture,
/// and its values: the session's image sizes, cut to their upper rows. On a noisy machine these
/// suites repeat a performance up to 16384 times, which whole pictures would turn into minutes.
extern tzIterator<RkdiSize> g_upperSize;
void rkListUpperSizes();

/// Tells at level INFO what an encoded stream takes.
void rkPrintStreamInfo(int bytes, int pixels);

/// The support functions of a binding.
template <class B>
struct rkHuffman;
#define RK_HUFFMAN_BINDING(B, Scope)                                                            \
  template <>                                                                                   \
  struct rkHuffman<B> {                                                                         \
    using EncodeState = Scope RkdiEncodeHuffmanState;                                           \
    using DecodeState = Scope RkdiDecodeHuffmanState;                                           \
    using EncodeSpec = Scope RkdiEncodeHuffmanSpec;                                             \
    using DecodeSpec = Scope RkdiDecodeHuffmanSpec;                                             \
    static constexpr auto freeEncodeSpec = &Scope rkdiEncodeHuffmanSpecFree_JPEG_8u;            \
    static constexpr auto freeDecodeSpec = &Scope rkdiDecodeHuffmanSpecFree_JPEG_8u;            \
    static RkdStatus make(const rkHuffTable& t, base::Made<EncodeSpec, freeEncodeSpec>& spec) { \
      return spec.make(Scope rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u, t.bits, t.values);         \
    }                                                                                           \
    static RkdStatus make(const rkHuffTable& t, base::Made<DecodeSpec, freeDecodeSpec>& spec) { \
      return spec.make(Scope rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u, t.bits, t.values);         \
    }                                                                                           \
    static RkdStatus make(base::Placed<EncodeState>& state) {                                   \
      return state.make(Scope rkdiEncodeHuffmanStateGetBufSize_JPEG_8u,                         \
                        Scope rkdiEncodeHuffmanStateInit_JPEG_8u);                              \
    }                                                                                           \
    static RkdStatus make(base::Placed<DecodeState>& state) {                                   \
      return state.make(Scope rkdiDecodeHuffmanStateGetBufSize_JPEG_8u,                         \
                        Scope rkdiDecodeHuffmanStateInit_JPEG_8u);                              \
    }                                                                                           \
  };
RK_HUFFMAN_BINDING(rkLibrary, ::)
RK_HUFFMAN_BINDING(rkReference, ref::)

/// A state object: the working one, and a pristine copy that restores it.
template <class B, class State>
class rkHuffState {
 public:
  RkdStatus create() {
    const RkdStatus status = rkHuffman<B>::make(m_working);
    m_pristine = m_working;
    return status;
  }
  State* get() { return m_working.get(); }
  /// The library's own copy is part of what is measured.
  void restore() {
    if constexpr (std::is_same_v<B, rkLibrary>) {
      rkdsCopy_8u(m_pristine.data(), m_working.data(), static_cast<int>(m_working.size()));
    } else {
      m_working = m_pristine;
    }
  }

 private:
  base::Placed<State> m_working, m_pristine;
};

/// Specifications and states of one binding.
template <class B>
class rkHuffCoder {
 public:
  using H = rkHuffman<B>;
  base::Made<typename H::EncodeSpec, H::freeEncodeSpec> encodeDC, encodeAC;
  base::Made<typename H::DecodeSpec, H::freeDecodeSpec> decodeDC, decodeAC;
  rkHuffState<B, typename H::EncodeState> encodeState;
  rkHuffState<B, typename H::DecodeState> decodeState;

  /// @return false after an error, which has been reported under the support function's name
  bool alloc(const rkHuffTable& dc, const rkHuffTable& ac) {
    return good(H::make(dc, encodeDC), "rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(H::make(ac, encodeAC), "rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(H::make(dc, decodeDC), "rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(H::make(ac, decodeAC), "rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(encodeState.create(), "rkdiEncodeHuffmanStateInit_JPEG_8u") &&
           good(decodeState.create(), "rkdiDecodeHuffmanStateInit_JPEG_8u");
  }
  void free() {
    encodeDC.reset();
    encodeAC.reset();
    decodeDC.reset();
    decodeAC.reset();
  }
  int restore() {
    encodeState.restore();
    decodeState.restore();
    return 0;
  }

 private:
  static bool good(RkdStatus status, const char* name) {
    return rkTest::checkStatus(status, name) <= TZ_WARNING;
  }
};

/// Coders of both bindings.
class rkHuffCoders {
 public:
  template <class B>
  rkHuffCoder<B>& of() {
    if constexpr (std::is_same_v<B, rkLibrary>) {
      return m_library;
    } else {
      return m_reference;
    }
  }
  /// The judge's are made where a comparison is to follow.
  bool alloc(const rkHuffTable& dc, const rkHuffTable& ac, bool verifying) {
    return m_library.alloc(dc, ac) && (!verifying || m_reference.alloc(dc, ac));
  }
  void free() {
    m_library.free();
    m_reference.free();
  }

 private:
  rkHuffCoder<rkLibrary> m_library;
  rkHuffCoder<rkReference> m_reference;
};

/// The file-scope operands of suites that code the blocks of a picture.
struct rkHuffData {
  rkHuffCoefs coefs;
  rkBitVector stream;
  rkVector decoded;
  rkHuffCoders coders;
};

/// Base of those suites. Parameters: the session's image sizes, and the picture.
class rkHuffTest : public rkTest {
 protected:
  rkHuffTest(const rkLine& line, rkHuffData& data) : rkTest(line), m_data(data) {}

  bool canStart() override;
  /// Makes the coefficients and encodes them once: a decoder needs the stream, and the stream's
  /// length is worth telling.
  bool initData() override;
  void flushData() override;
  double getDivisor() const override { return m_data.coefs.total(); }
  tzString getUnit() const override { return "px"; }

  /// One performance of the library's encoder, from the start.
  /// @param[out] bytes  what it wrote
  virtual int encodeOnce(int& bytes) = 0;

 private:
  rkHuffData& m_data;
};

/// Support functions without which no Huffman suite can run.
#define RK_HUFFMAN_NEEDS                                                                   \
  rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u, rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u,          \
      rkdiEncodeHuffmanSpecFree_JPEG_8u, rkdiDecodeHuffmanSpecFree_JPEG_8u,                \
      rkdiEncodeHuffmanStateGetBufSize_JPEG_8u, rkdiDecodeHuffmanStateGetBufSize_JPEG_8u,  \
      rkdiEncodeHuffmanStateInit_JPEG_8u, rkdiDecodeHuffmanStateInit_JPEG_8u, rkdsCopy_8u, \
      rkdiDCT8x8FwdLS_JPEG_8u16s_C1R, rkdiQuantFwd8x8_JPEG_16s_C1I
