#include "geo/vocabulary.h"

#include <iterator>

namespace geo {

namespace {

constexpr std::string_view kind_names[] = {
#define RESULT_KIND(id, name) name,
#include "geo/vocabulary.def"
};

constexpr std::string_view key_names[] = {
#define RESULT_KEY(id, name) name,
#include "geo/vocabulary.def"
};

constexpr std::string_view verdict_names[] = {
#define RESULT_STATUS(id, name) name,
#include "geo/vocabulary.def"
};

}  // namespace

std::string_view name(Kind kind) {
  return kind_names[static_cast<int>(kind)];
}

std::string_view name(Key key) { return key_names[static_cast<int>(key)]; }

std::string_view name(Verdict verdict) {
  return verdict_names[static_cast<int>(verdict)];
}

std::optional<Kind> kind_named(std::string_view word) {
  for (std::size_t i = 0; i < std::size(kind_names); ++i)
    if (kind_names[i] == word) return static_cast<Kind>(i);
  return std::nullopt;
}

}  // namespace geo
