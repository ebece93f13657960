#pragma once
/// @file
/// Base of the suites whose functions go over whole images: one call from one image to another, or
/// in place.

#include "rktest.h"

/// The file-scope operands of such a suite. In-place functions use dst alone.
struct rkImagePair {
  rkImage src, dst;
  int srcStep = 0, dstStep = 0;
  RkdiSize size{};
};

/// Parameter: the session's image sizes. Types, channels and planes follow from the function's
/// name.
class rkImageTest : public rkTest {
 protected:
  rkImageTest(const rkLine& line, rkImagePair& io) : rkTest(line), m_io(io) {}

  bool canStart() override;
  bool initData() override;
  void flushData() override;
  tzString refusal() const override { return emptyRefusal(); }
  /// Pixels of the image.
  double getDivisor() const override;
  tzString getUnit() const override { return "px"; }
  /// The samples of both images; in place, of the one twice.
  tzTraffic getTraffic() const override;

  /// Binds both images to the function's operands; for names that do not tell the whole layout.
  virtual void bind();
  /// Values for which the function's results are defined; (0, 0): all of the type.
  virtual rkRange statedRange() const { return {}; }

  rkImagePair& m_io;
};

/// As rkImageTest, told per pixel channel: a sample of one colour channel, counted on the side that
/// has more of them.
class rkChannelTest : public rkImageTest {
 protected:
  using rkImageTest::rkImageTest;
  double getDivisor() const override;
  tzString getUnit() const override { return "pxch"; }
  /// Colour channels of one pixel.
  virtual int numChannels() const;
};
