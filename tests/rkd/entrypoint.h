/// @file
/// The entry points of the libraries as data: what each argument is, and a call with any values.
/// What is done with all of them is then compiled once, not for every signature.
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "rkd/rkd.h"

namespace entrypoint {

/// What an argument is.
struct Type {
  enum Kind { SIZE, POINTER, PLANES, NUMBER };
  /// Of the samples that it points to; OPAQUE: objects, or bytes of no told type.
  enum Sample { OPAQUE, INT8, UINT8, INT16, UINT16, INT32, UINT32, FLOAT };
  Kind kind = NUMBER;
  bool written = false;  ///< what it points to may change
  Sample sample = OPAQUE;
  /// Of a sample; void has none.
  int bytes() const {
    constexpr int kBytes[] = {1, 1, 1, 2, 2, 4, 4, 4};
    return kBytes[sample];
  }
  bool isVoid = false;
};

/// An argument of any type.
struct Value {
  void* pointer = nullptr;
  RkdiSize size = {};
  int64_t number = 0;
};

template <class T>
constexpr Type::Sample sampleOf() {
  using S = std::remove_const_t<T>;
  if constexpr (std::is_floating_point_v<S>) {
    return Type::FLOAT;
  } else if constexpr (std::is_integral_v<S>) {
    constexpr bool isSigned = std::is_signed_v<S>;
    switch (sizeof(S)) {
      case 1:
        return isSigned ? Type::INT8 : Type::UINT8;
      case 2:
        return isSigned ? Type::INT16 : Type::UINT16;
      default:
        return isSigned ? Type::INT32 : Type::UINT32;
    }
  } else {
    return Type::OPAQUE;
  }
}

template <class A>
constexpr Type typeOf() {
  if constexpr (std::is_same_v<A, RkdiSize>) {
    return {Type::SIZE};
  } else if constexpr (std::is_pointer_v<A>) {
    using T = std::remove_pointer_t<A>;
    if constexpr (std::is_pointer_v<T>) {
      using Sample = std::remove_pointer_t<T>;
      return {Type::PLANES, !std::is_const_v<Sample>, sampleOf<Sample>()};
    } else {
      return {Type::POINTER, !std::is_const_v<T>, sampleOf<T>(), std::is_void_v<T>};
    }
  } else {
    return {};
  }
}

template <class A>
A as(const Value& value) {
  if constexpr (std::is_same_v<A, RkdiSize>) {
    return value.size;
  } else if constexpr (std::is_pointer_v<A>) {
    return reinterpret_cast<A>(value.pointer);
  } else {
    return static_cast<A>(value.number);
  }
}

using AnyFunction = void (*)();

/// A function with what it takes, and how to call it.
struct Function {
  const char* name;
  AnyFunction address;
  RkdStatus (*caller)(AnyFunction, const Value*);
  const Type* types;
  size_t count;

  RkdStatus call(const Value* values) const { return caller(address, values); }
};

template <class... A>
Function describe(const char* name, RkdStatus (*function)(A...)) {
  static constexpr std::array<Type, sizeof...(A)> types = {typeOf<A>()...};
  const auto caller = [](AnyFunction address, const Value* values) {
    return [&]<size_t... I>(std::index_sequence<I...>) {
      return reinterpret_cast<RkdStatus (*)(A...)>(address)(as<A>(values[I])...);
    }
    (std::index_sequence_for<A...>{});
  };
  return {name, reinterpret_cast<AnyFunction>(function), caller, types.data(), types.size()};
}

}  // namespace entrypoint
