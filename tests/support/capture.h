/// @file
/// Streams that write to memory, and how failures print the harness's texts.
#pragma once

#include <ostream>
#include <string>
#include <utility>

#include "tzcstream.h"
#include "tzostream.h"

inline void PrintTo(const tzString& text, std::ostream* os) { *os << '"' << text.c_str() << '"'; }

/// A target that keeps what is written; attach it with `addStream`, take it out before it ends.
class MemoryTarget : public o_stream {
 public:
  void write(const char* text, std::size_t length) override { m_text.append(text, length); }
  void flush() override { ++m_flushes; }
  void close() override {}

  const std::string& text() const { return m_text; }
  int flushes() const { return m_flushes; }
  /// What was written since the last call.
  std::string take() { return std::exchange(m_text, {}); }

 private:
  std::string m_text;
  int m_flushes = 0;
};

/// While it lives, a stream writes to memory too.
template <class Stream>
class Capture {
 public:
  explicit Capture(Stream& stream) : m_stream(stream) { m_stream.addStream(m_target); }
  ~Capture() { m_stream.removeStream(m_target); }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  const std::string& text() const { return m_target.text(); }
  std::string take() { return m_target.take(); }
  int flushes() const { return m_target.flushes(); }

 private:
  Stream& m_stream;
  MemoryTarget m_target;
};

using CsvCapture = Capture<tzCStream>;

/// What g_ostrm shows at the levels of `mask`.
class Console : public Capture<tzOStream> {
 public:
  explicit Console(int mask = L_ERR | L_WARN | L_PERF)
      : Capture(g_ostrm), m_before(g_ostrm.outLevel()) {
    g_ostrm.setOutLevel(mask);
  }
  ~Console() { g_ostrm.setOutLevel(m_before); }

 private:
  int m_before;
};
