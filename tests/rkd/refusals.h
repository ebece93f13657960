/// @file
/// Bad arguments of an entry point, from one line: a null pointer, a size that is not positive, a
/// step below a row. Each gives its own status, and nothing is written.
///
/// The line is REFUSES(function, shape), where the shape has one word an argument:
///   p       pointer to samples, a table or results
///   @       the same with zeros behind it: a position, a previous DC
///   q       the same, may be null
///   P3      array of 3 plane pointers; P1oE: of 1 pointer to an object
///   oE ...  pointer to an object, see object()
///   s2      step of rows of 2 samples a pixel and 19 pixels
///   r8      step of rows of 8 samples
///   z       RkdiSize of 19x3 pixels; z20x8: of 20x8
///   n       length or width of 19; n99: of 99
///   m19     length that may be zero
///   =5      any other parameter, with a value that is right
/// Steps measure rows of the pointer before them.
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "rkd/rkd.h"

namespace refusals {

/// The functions that have a line, and whether lines are to be listed only.
inline std::set<std::string> g_listed;
inline bool g_listOnly = false;

/// What an argument is, so that the checks need not be compiled for every signature.
struct Type {
  enum Kind { SIZE, POINTER, PLANES, NUMBER };
  Kind kind = NUMBER;
  bool written = false;  ///< what it points to may change
  int bytes = 0;         ///< of a sample that it points to, 0 where that is not told
};

/// An argument of any type.
struct Value {
  void* pointer = nullptr;
  RkdiSize size = {};
  int64_t number = 0;
};

template <class T>
constexpr int sampleBytes() {
  if constexpr (std::is_void_v<T>) {
    return 0;
  } else if constexpr (requires { sizeof(T); }) {
    return sizeof(T);
  } else {
    return 1;
  }
}

template <class A>
constexpr Type typeOf() {
  if constexpr (std::is_same_v<A, RkdiSize>) {
    return {Type::SIZE, false, 0};
  } else if constexpr (std::is_pointer_v<A>) {
    using T = std::remove_pointer_t<A>;
    if constexpr (std::is_pointer_v<T>) {
      using Sample = std::remove_pointer_t<T>;
      return {Type::PLANES, !std::is_const_v<Sample>, sampleBytes<Sample>()};
    } else {
      return {Type::POINTER, !std::is_const_v<T>, sampleBytes<T>()};
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
  RkdStatus (*call)(AnyFunction, const Value*);
  const Type* types;
  size_t count;
};

template <class... A>
Function describe(const char* name, RkdStatus (*function)(A...)) {
  static constexpr std::array<Type, sizeof...(A)> types = {typeOf<A>()...};
  const auto call = [](AnyFunction address, const Value* values) {
    return [&]<size_t... I>(std::index_sequence<I...>) {
      return reinterpret_cast<RkdStatus (*)(A...)>(address)(as<A>(values[I])...);
    }
    (std::index_sequence_for<A...>{});
  };
  return {name, reinterpret_cast<AnyFunction>(function), call, types.data(), types.size()};
}

/// Calls the function with every bad argument that the shape knows, and at last with right ones.
void check(const Function& function, const char* shape);

}  // namespace refusals

#define REFUSES(function, shape) refusals::check(refusals::describe(#function, function), shape)
