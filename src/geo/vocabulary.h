// The words of the location results (feature kinds, member names, status
// values), from vocabulary.def.
#pragma once

#include <optional>
#include <string_view>

namespace geo {

/// The "kind" of a GeoJSON feature.
enum class Kind {
#define RESULT_KIND(id, name) id,
#include "geo/vocabulary.def"
};

/// A member of a JSON result or a property of a GeoJSON feature.
enum class Key {
#define RESULT_KEY(id, name) id,
#include "geo/vocabulary.def"
};

/// A value of the "status" member.
enum class Verdict {
#define RESULT_STATUS(id, name) id,
#include "geo/vocabulary.def"
};

/// The word as it is written.
std::string_view name(Kind kind);
std::string_view name(Key key);
std::string_view name(Verdict verdict);

/// The kind written `word`; none for a word that is not a kind.
std::optional<Kind> kind_named(std::string_view word);

}  // namespace geo
