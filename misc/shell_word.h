// An argument as typed at a shell prompt: as it is when it holds only
// characters the shell leaves alone, otherwise in single quotes. The manual
// page's example commands and the README check both write arguments so.
#pragma once

#include <algorithm>
#include <cctype>
#include <string>

inline std::string shell_word(const std::string& word) {
  const bool plain =
      !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) ||
               std::string("_.,:=+/@%-").find(c) != std::string::npos;
      });
  if (plain) return word;
  std::string quoted = "'";
  for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}
