/// @file
/// A stream through memory that rows out of the second-level cache are compared with: it tells
/// whether the memory is as fast now as it was at best in this run.
#pragma once

class tzReferenceStream {
 public:
  /// The size of the stream for data of so many bytes: the next power of two up to 64 MiB; 0 for
  /// data that the second-level cache holds, which need none.
  static int sizeFor(long long bytes);
  /// Takes the memory of all streams: before the process has children, which then share it.
  static void prepare();
  /// Reads a stream of this size once.
  /// @return clocks; 0 when there is no memory for it
  static double measure(int size);
  /// Takes a time of this run into account, measured here or by another process of it.
  static void note(int size, double clocks);
  /// The least time noted of this size; 0: none.
  static double best(int size);

  /// In place of reading; null: reading.
  static double (*m_pMeasure)(int size);
  /// Bytes of the second-level cache; 0: as the processor tells.
  static long long m_secondLevel;
};
