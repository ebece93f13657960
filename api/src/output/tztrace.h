/// @file
/// The indented call trace.
#pragma once

#include "tzlist.h"
#include "tzstring.h"

/// Writes a line to g_ostrm, at level TRACE, at the beginning and the end of every bracketed step.
class tzTrace {
 public:
  void traceIn(const tzString& name);
  /// Ends the step and all unfinished ones within it. A name that was not begun ends nothing but
  /// flattens the indent.
  void traceOut(const tzString& name);
  /// The innermost step, or an empty text.
  tzString getCurName() const;
  /// All lines so far, also those that the console did not show.
  const tzString& text() const { return m_text; }

 private:
  void putLine(const char* direction, const tzString& name);

  tzStringList m_names;  // newest first
  tzString m_text;
  tzString m_indent;
};

extern tzTrace g_trace;

/// Brackets the rest of a scope.
class tzTraceScope {
 public:
  explicit tzTraceScope(const char* name) : m_name(name) { g_trace.traceIn(m_name); }
  ~tzTraceScope() { g_trace.traceOut(m_name); }
  tzTraceScope(const tzTraceScope&) = delete;
  tzTraceScope& operator=(const tzTraceScope&) = delete;

 private:
  const char* m_name;
};
