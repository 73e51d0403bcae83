// The files vestra-map writes: their names from the -o pattern, and the
// picture put in place in one step.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "map/map_event.h"

namespace vestra::map {

/// The output file of the `number`th event (from 1) of `count`, from the
/// -o pattern: "%e" is the event's name made safe for a file name (letters,
/// digits, '.', '-' and '_' kept, others replaced by '_', and a name of
/// dots alone, such as "." or "..", all '_'; the number when the name is
/// empty), "%n" its number, "%%" a percent sign. A pattern without '%' gets
/// "-%e" before its extension when there are several events. Throws
/// MapError for any other '%' sequence.
std::string output_name(const std::string& pattern, const MapEvent& event,
                        std::size_t number, std::size_t count);

/// Puts a copy of `picture` at `target` in one step (cli::replace_file: an
/// exclusive new file beside the target renamed to it, never written
/// through a link). Throws MapError, and leaves nothing behind, when that
/// fails.
void install_picture(const std::filesystem::path& picture,
                     const std::filesystem::path& target);

}  // namespace vestra::map
