// The boxes of a JP2 file.
#include <vector>

#include "boxes.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> file = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10};
  file.insert(file.end(), data, data + size);
  j2k::Diagnostics none;
  j2k::Reporter report(none, false);
  try {
    const j2k::BoxInfo info = j2k::readBoxes(file, report);
    for (const j2k::Box& box : info.boxes) {
      require(box.content.data() >= file.data() &&
                  box.content.data() + box.content.size() <= file.data() + file.size(),
              "a box lies in the file");
    }
    for (const auto& column : info.colours.palette) {
      require(column.size() == info.colours.palette[0].size(), "columns are of one length");
    }
  } catch (const j2k::Failure&) {
    // Refused by number.
  }
  return 0;
}
