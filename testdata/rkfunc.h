/// @file
/// The function-name descriptor: what the name of a library function says about its operands.
///
/// `rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R` is the prefix "rkdi", the base name
/// "DCTQuantInv8x8LS_JPEG" (the first "_" that a type follows ends it), the type group "16s8u" and
/// the description "C1R": source 16s, destination 8u, one channel each, with a region.
#pragma once

#include "rktype.h"
#include "tzstring.h"

/// An operand of a function; bit flags.
enum rkArg : int { rkSrc = 1, rkSrc2 = 2, rkDst = 4, rkDst2 = 8 };

/// A function's name. Nothing is kept: every question parses the name again.
class rkFunc : public tzString {
 public:
  rkFunc() = default;
  rkFunc(const char* name) : tzString(name) {}
  rkFunc(const tzString& name) : tzString(name) {}

  /// @name The pieces
  /// @{
  void parseFunction(tzString& base, tzString& types, tzString& descr) const;
  /// With the type group cut into single types; a group of fewer types repeats its last one.
  void parseFunction(tzString& base, tzString& type1, tzString& type2, tzString& type3,
                     tzString& descr) const;
  tzString prefix() const;     ///< "rkds", "rkdi" or empty
  tzString baseName() const;   ///< "DCTQuantInv8x8LS_JPEG"
  tzString typeName() const;   ///< "16s8u"
  tzString descrName() const;  ///< "C1R"
  /// @}

  /// @name Element types
  /// @{
  /// @param n  1 to 3: that single type of the group; 0: the type in the base name, or else as 1
  rkType type(int n) const;
  rkType type(rkArg arg) const;
  rkType srcType() const;
  rkType src2Type() const;
  rkType dstType() const;
  rkType dst2Type() const;
  /// All four, with the exceptions that some base names make.
  void getTypes(rkType& src, rkType& dst, rkType& src2, rkType& dst2) const;
  void updateTypes(rkType& src, rkType& dst, rkType& src2, rkType& dst2) const;
  /// The type written inside the base name, or rkUndef.
  rkType typeFromBase() const;
  /// @}

  /// @name Channels
  /// An int operand is 1 for the source and 2 for the destination.
  /// @{
  tzString channelsName(int operand) const;  ///< "C1", "P3", "AC4"; empty when there is none
  tzString srcChannelsName() const { return channelsName(1); }
  tzString dstChannelsName() const { return channelsName(2); }
  void getChannelsName(tzString& src, tzString& dst) const;
  /// 0 without a channel code or with a digit above 4.
  int channels(int operand) const;
  int channels(rkArg arg) const;
  int srcChannels() const { return channels(1); }
  int dstChannels() const { return channels(2); }
  void getChannels(int& src, int& dst) const;
  /// Gives operands without a channel code (a count of 0) one channel.
  void updateChannels(int& src, int& dst) const;
  bool plane(int operand) const;
  bool plane(rkArg arg) const;
  bool srcPlane() const { return plane(1); }
  bool dstPlane() const { return plane(2); }
  void getPlanes(bool& src, bool& dst) const;
  bool alpha(int operand) const;
  bool alpha(rkArg arg) const;
  bool srcAlpha() const { return alpha(1); }
  bool dstAlpha() const { return alpha(2); }
  void getAlpha(bool& src, bool& dst) const;
  /// Channel of interest: the description holds one of the digits 1 to 4 after a "C" that no digit
  /// of a channel code is.
  bool coi() const;
  /// The library's constant for the layout of an operand.
  RkdChannels rkdChannels(int operand) const;
  /// @}

  bool inplace() const;  ///< the description holds "I"
  bool roi() const;      ///< "R"
  bool scale() const;    ///< "Sfs"
  bool mask() const;     ///< "M"

  /// Orders functions: by base name, then types, then description, where in-place and channel
  /// variants stand beside their plain form.
  /// @return negative, 0 or positive
  int compare(const rkFunc& other) const;

 private:
  static int compareTypes(const tzString& a, const tzString& b);
  static int compareDescr(const tzString& a, const tzString& b);
};

/// @name Rules of names
/// @{
/// Length of the type that `text` begins with; 0 when it begins with none.
int lenOfType(const tzString& text);
/// Position of the "_" that ends the base name; -1 when there is none.
int endOfBase(const tzString& name);
/// Channels of a code ("C3", "AP4").
int numChannels(const tzString& code);
bool planeChannel(const tzString& code);
bool alphaChannel(const tzString& code);
/// @}
