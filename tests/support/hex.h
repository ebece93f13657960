/// @file
/// Bytes as texts of hexadecimal digits, so that failures show them and tests can hold them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

inline std::string hex(const std::vector<uint8_t>& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    for (const int digit : {byte >> 4, byte & 15}) text += "0123456789ABCDEF"[digit];
  }
  return text;
}

inline std::vector<uint8_t> fromHex(const std::string& text) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}
