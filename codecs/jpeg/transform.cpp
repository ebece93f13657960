// Coefficients turned and cut out: a block is transposed by its indices, and flipped by the signs
// of its odd frequencies.
#include "transform.h"

#include <algorithm>

namespace jpeg {

Turn Turn::then(const Turn& next) const {
  // Transposing behind flips is transposing in front of them with their roles exchanged.
  const bool across = next.transposes ? flipsDown : flipsAcross;
  const bool down = next.transposes ? flipsAcross : flipsDown;
  return {transposes != next.transposes, across != next.flipsAcross, down != next.flipsDown};
}

Turn Turn::inverse() const {
  return Turn{false, flipsAcross, flipsDown}.then({transposes, false, false});
}

namespace {

constexpr Turn kOfOrientation[] = {{},         kFlipAcross, kRotate180,  kFlipDown,
                                   kTranspose, kRotate90,   kTransverse, kRotate270};

}  // namespace

Turn turnOfOrientation(int orientation) {
  return orientation >= 1 && orientation <= 8 ? kOfOrientation[orientation - 1] : Turn();
}

int orientationAfter(int orientation, const Turn& turn) {
  const Turn wanted = turn.inverse().then(turnOfOrientation(orientation)).then(turn);
  return 1 + int(std::ranges::find(kOfOrientation, wanted) - std::begin(kOfOrientation));
}

namespace {

/// Where the blocks of the result come from.
struct Plan {
  Turn turn;
  Frame turned;                 // the whole picture turned, trimmed
  int mcuLeft = 0, mcuTop = 0;  // of the region
};

/// Cuts a side to whole MCUs. @return whether anything is left
bool trim(int* side, int mcu, bool* isTrimmed) {
  const int rest = *side % mcu;
  if (rest != 0) *isTrimmed = true;
  *side -= rest;
  return *side > 0;
}

Status turnFrame(const Frame& from, const Turn& turn, Frame* to, bool* isTrimmed) {
  *to = from;
  for (int i = 0; i < to->componentCount; ++i) {
    Component& c = to->component[size_t(i)];
    // The factors of a single component mean nothing but larger MCUs.
    if (to->componentCount == 1) c.h = c.v = 1;
    if (turn.transposes) std::swap(c.h, c.v);
  }
  if (turn.transposes) std::swap(to->width, to->height);
  JPEG_RETURN_IF_ERROR(to->derive());
  if (turn.flipsAcross && !trim(&to->width, to->mcuWidth(), isTrimmed)) return Status::cannotTurn;
  if (turn.flipsDown && !trim(&to->height, to->mcuHeight(), isTrimmed)) return Status::cannotTurn;
  return to->derive();
}

Status cut(const Rect& crop, Plan* plan, Frame* result) {
  *result = plan->turned;
  if (crop.isEmpty()) return Status::ok;
  const Frame& whole = plan->turned;
  if (crop.x < 0 || crop.y < 0 || crop.width < 0 || crop.height < 0 ||
      crop.width > whole.width - crop.x || crop.height > whole.height - crop.y) {
    return Status::badCrop;
  }
  plan->mcuLeft = crop.x / whole.mcuWidth();
  plan->mcuTop = crop.y / whole.mcuHeight();
  result->width = crop.width + crop.x % whole.mcuWidth();
  result->height = crop.height + crop.y % whole.mcuHeight();
  return result->derive();
}

void turnBlock(const int16_t* from, const Turn& turn, int16_t* to) {
  for (int row = 0; row < 8; ++row) {
    for (int column = 0; column < 8; ++column) {
      const int value = turn.transposes ? from[8 * column + row] : from[8 * row + column];
      const bool isNegated =
          (turn.flipsAcross && (column & 1) != 0) != (turn.flipsDown && (row & 1) != 0);
      to[8 * row + column] = int16_t(isNegated ? -value : value);
    }
  }
}

void turnComponent(const Coefficients& from, const Plan& plan, int index, Coefficients* to) {
  const Component& turned = plan.turned.component[size_t(index)];
  const Component& c = to->frame.component[size_t(index)];
  for (int row = 0; row < c.paddedDown; ++row) {
    for (int column = 0; column < c.paddedAcross; ++column) {
      int y = row + plan.mcuTop * c.v, x = column + plan.mcuLeft * c.h;
      if (plan.turn.flipsDown) y = turned.paddedDown - 1 - y;
      if (plan.turn.flipsAcross) x = turned.paddedAcross - 1 - x;
      if (plan.turn.transposes) std::swap(x, y);
      turnBlock(from.block(index, y, x), plan.turn, to->block(index, row, column));
    }
  }
}

Quantisers transposed(const Quantisers& from) {
  Quantisers to;
  for (size_t i = 0; i < 64; ++i) to[i] = from[8 * (i % 8) + i / 8];
  return to;
}

}  // namespace

Status transform(const Coefficients& from, const Turn& turn, const Rect& crop, size_t memoryLimit,
                 Coefficients* to, bool* isTrimmed) {
  Plan plan;
  plan.turn = turn;
  *isTrimmed = false;
  JPEG_RETURN_IF_ERROR(turnFrame(from.frame, turn, &plan.turned, isTrimmed));
  JPEG_RETURN_IF_ERROR(cut(crop, &plan, &to->frame));
  to->color = from.color;
  to->quantisers = from.quantisers;
  if (turn.transposes) {
    for (Quantisers& q : to->quantisers) q = transposed(q);
  }
  JPEG_RETURN_IF_ERROR(to->allocate(memoryLimit));
  for (int i = 0; i < from.frame.componentCount; ++i) turnComponent(from, plan, i, to);
  return Status::ok;
}

}  // namespace jpeg
