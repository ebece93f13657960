#pragma once
/// @file
/// Source pictures of the codec suites: which one, where it is found, how a decoded one compares.

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "rkimage.h"
#include "rktest.h"
#include "tziterator.h"

/// A parameter that counts only while another one has a certain value. At other times it is passed
/// once and shown as "-".
template <class Parameter>
class rkDependent : public Parameter {
 public:
  explicit rkDependent(const tzString& name) : Parameter(name) {}
  void dependOn(const tzDefault_NSC<int>& other, int value) {
    m_other = &other;
    m_value = value;
  }
  bool counts() const { return m_other == nullptr || m_other->value() == m_value; }
  /// The first value is taken in any case: the other parameter may go on after this one was set
  /// back.
  bool nextValue() override {
    if (counts() || !this->isRunning()) return Parameter::nextValue();
    this->setRunning(false);
    return false;
  }
  tzString valueString() const override { return counts() ? Parameter::valueString() : "-"; }

 private:
  const tzDefault_NSC<int>* m_other = nullptr;
  int m_value = 0;
};

/// Parameter "imageInput".
enum rkImageInput : int { rkInputFile = 0, rkInputJaehne = 1 };

/// The parameters that choose a picture, and the picture: rows from the bottom up, as files have
/// them, blue first.
class rkCodecPicture {
 public:
  /// Registers "imageInput", "bmpFile" and "size" with a test and lists their default values.
  /// @param files  names of pictures
  void declare(tzTest& test, rkImageInput first, std::initializer_list<const char*> files);
  /// Why there is no such picture; empty when there is one.
  tzString refusal() const;
  /// @return false after a line that names the file and the reason
  bool create(int channels);
  void flush() { m_image.deleteVector(); }
  /// Keeps a picture of three channels as a file in the output folder, where one can be made.
  void save() const;

  bool isFile() const { return m_input.value() == rkInputFile; }
  /// "rose.bmp", "jaehne.bmp"
  tzString name() const { return isFile() ? m_file.value() : tzString("jaehne.bmp"); }
  const rkImage& image() const { return m_image; }

 private:
  tzMapIterator<int> m_input{"imageInput"};
  rkDependent<tzIterator<tzString>> m_file{"bmpFile"};
  rkDependent<tzIterator<RkdiSize>> m_size{"size"};
  rkImage m_image;
};

/// Peak signal-to-noise ratio of 8-bit samples in dB; 999 when all are equal.
double rkPsnr(const uint8_t* a, const uint8_t* b, size_t count);

/// One row of a suite's table of the least PSNR that a picture must come back with.
struct rkFloor {
  const char* picture;  ///< what its name begins with
  double least;         ///< of the suite's figure (quality, bits a pixel) the row is for
  bool isHalved;        ///< colours sampled more coarsely
  double psnr;
};
/// The floor of a figure: of the rows that fit, the one with the greatest `least` up to it, and of
/// those the first. Without a row it is 8 dB, which a picture and another one have.
double rkFloorOf(const std::vector<rkFloor>& table, const tzString& picture, double figure,
                 bool isHalved);

/// Judges by a floor, 999 for a picture that must come back as it was.
/// @param note  receives both figures when it is missed
tzResult rkJudgePsnr(double psnr, double floor, tzString& note);
