#pragma once
/// @file
/// What the Huffman suites share: pictures as coefficients, the standard's tables, and coders, one
/// set for each binding.

#include <cstdint>
#include <cstring>
#include <vector>

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
  rkPicturePhoto = 1    ///< a made-up photograph at quality 75
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
#define RK_HUFFMAN_BINDING(B, Scope)                                                      \
  template <>                                                                             \
  struct rkHuffman<B> {                                                                   \
    using EncodeSpec = Scope RkdiEncodeHuffmanSpec;                                       \
    using DecodeSpec = Scope RkdiDecodeHuffmanSpec;                                       \
    using EncodeState = Scope RkdiEncodeHuffmanState;                                     \
    using DecodeState = Scope RkdiDecodeHuffmanState;                                     \
    static RkdStatus alloc(const rkHuffTable& t, EncodeSpec** spec) {                     \
      return Scope rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u(t.bits, t.values, spec);        \
    }                                                                                     \
    static RkdStatus alloc(const rkHuffTable& t, DecodeSpec** spec) {                     \
      return Scope rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u(t.bits, t.values, spec);        \
    }                                                                                     \
    static void free(EncodeSpec* spec) { Scope rkdiEncodeHuffmanSpecFree_JPEG_8u(spec); } \
    static void free(DecodeSpec* spec) { Scope rkdiDecodeHuffmanSpecFree_JPEG_8u(spec); } \
    static RkdStatus encodeStateSize(int* size) {                                         \
      return Scope rkdiEncodeHuffmanStateGetBufSize_JPEG_8u(size);                        \
    }                                                                                     \
    static RkdStatus decodeStateSize(int* size) {                                         \
      return Scope rkdiDecodeHuffmanStateGetBufSize_JPEG_8u(size);                        \
    }                                                                                     \
    static RkdStatus init(EncodeState* state) {                                           \
      return Scope rkdiEncodeHuffmanStateInit_JPEG_8u(state);                             \
    }                                                                                     \
    static RkdStatus init(DecodeState* state) {                                           \
      return Scope rkdiDecodeHuffmanStateInit_JPEG_8u(state);                             \
    }                                                                                     \
  };
RK_HUFFMAN_BINDING(rkLibrary, ::)
RK_HUFFMAN_BINDING(rkReference, ref::)

/// A state object: the working one, and a pristine copy that restores it.
template <class State>
class rkHuffState {
 public:
  template <class Init>
  bool create(int size, Init init) {
    const std::size_t words =
        (static_cast<std::size_t>(size) + sizeof(uint64_t) - 1) / sizeof(uint64_t);
    m_size = size;
    m_working.assign(words, 0);
    if (init(get()) < 0) return false;
    m_pristine = m_working;
    return true;
  }
  State* get() { return reinterpret_cast<State*>(m_working.data()); }
  /// The library's own copy is part of what is measured.
  void restoreByLibrary() {
    rkdsCopy_8u(reinterpret_cast<const uint8_t*>(m_pristine.data()),
                reinterpret_cast<uint8_t*>(m_working.data()), m_size);
  }
  void restore() { m_working = m_pristine; }

 private:
  std::vector<uint64_t> m_working, m_pristine;
  int m_size = 0;
};

/// Specifications and states of one binding.
template <class B>
class rkHuffCoder {
 public:
  using H = rkHuffman<B>;
  typename H::EncodeSpec* encodeDC = nullptr;
  typename H::EncodeSpec* encodeAC = nullptr;
  typename H::DecodeSpec* decodeDC = nullptr;
  typename H::DecodeSpec* decodeAC = nullptr;
  rkHuffState<typename H::EncodeState> encodeState;
  rkHuffState<typename H::DecodeState> decodeState;

  rkHuffCoder() = default;
  rkHuffCoder(const rkHuffCoder&) = delete;
  rkHuffCoder& operator=(const rkHuffCoder&) = delete;
  ~rkHuffCoder() { free(); }

  /// @return false after an error, which has been reported under the support function's name
  bool alloc(const rkHuffTable& dc, const rkHuffTable& ac) {
    free();
    int encodeSize = 0, decodeSize = 0;
    return good(H::alloc(dc, &encodeDC), "rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(H::alloc(ac, &encodeAC), "rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(H::alloc(dc, &decodeDC), "rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(H::alloc(ac, &decodeAC), "rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u") &&
           good(H::encodeStateSize(&encodeSize), "rkdiEncodeHuffmanStateGetBufSize_JPEG_8u") &&
           good(H::decodeStateSize(&decodeSize), "rkdiDecodeHuffmanStateGetBufSize_JPEG_8u") &&
           encodeState.create(encodeSize, [](auto* state) { return H::init(state); }) &&
           decodeState.create(decodeSize, [](auto* state) { return H::init(state); });
  }
  void free() {
    H::free(encodeDC);
    H::free(encodeAC);
    H::free(decodeDC);
    H::free(decodeAC);
    encodeDC = encodeAC = nullptr;
    decodeDC = decodeAC = nullptr;
  }
  int restore() {
    if constexpr (std::is_same_v<B, rkLibrary>) {
      encodeState.restoreByLibrary();
      decodeState.restoreByLibrary();
    } else {
      encodeState.restore();
      decodeState.restore();
    }
    return 0;
  }

 private:
  static bool good(RkdStatus status, const char* name) {
    return rkTest::checkStatus(status, name) <= TZ_WARNING;
  }
};

/// Support functions without which no Huffman suite can run.
#define RK_HUFFMAN_NEEDS                                                                   \
  rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u, rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u,          \
      rkdiEncodeHuffmanSpecFree_JPEG_8u, rkdiDecodeHuffmanSpecFree_JPEG_8u,                \
      rkdiEncodeHuffmanStateGetBufSize_JPEG_8u, rkdiDecodeHuffmanStateGetBufSize_JPEG_8u,  \
      rkdiEncodeHuffmanStateInit_JPEG_8u, rkdiDecodeHuffmanStateInit_JPEG_8u, rkdsCopy_8u, \
      rkdiDCT8x8FwdLS_JPEG_8u16s_C1R, rkdiQuantFwd8x8_JPEG_16s_C1I
