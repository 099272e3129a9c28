// SPDX-License-Identifier: MIT
#include "cli/text/printable.h"

std::string printable(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
    const bool isC1 = byte == 0xC2 && next >= 0x80 && next < 0xA0;
    if (isC1) ++i;
    result += byte < 0x20 || byte == 0x7F || isC1 ? '?' : text[i];
  }
  return result;
}
