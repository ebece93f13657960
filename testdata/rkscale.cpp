// The scale factor as a parameter.
#include "rkscale.h"

#include <algorithm>

void rkScaleIterator::init(const tzString& name, int first, int second, int third, int fourth,
                           int fifth, int sixth) {
  tzIterator<int>::init(name, "Scale factor");
  for (int factor : {first, second, third, fourth, fifth, sixth}) {
    if (factor == NONE) continue;
    factor = std::clamp(factor, -LIMIT, LIMIT);
    if (std::find(begin(), end(), factor) == end()) add(factor);
  }
  if (empty()) add(0);
}
