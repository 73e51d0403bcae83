// Draws one event with the `gmt` program (GMT 6, modern mode).
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "map/map_event.h"

namespace vestra::map {

struct DrawOptions {
  int width_px = 1200;   ///< page size in pixels (PNG) or pixels at `dpi`
  int height_px = 900;
  int dpi = 150;
  bool pdf = false;      ///< PDF instead of PNG
  std::optional<GeoPoint> truth;
  std::string gmt = "gmt";  ///< the program run, looked up in PATH
};

/// Draws `event`, the `number`th of the input (counted from 1, for the
/// title of an unnamed event), into the empty directory `dir`, which is
/// also GMT's home, user and session directory, and returns the path of the
/// picture made there (map.png or map.pdf). Throws MapError when the event has nothing
/// to draw, the page is too small, or a GMT command fails (GMT's own
/// messages are on the standard error stream by then).
std::filesystem::path draw_event(const MapEvent& event,
                                 const DrawOptions& options,
                                 const std::filesystem::path& dir,
                                 std::size_t number);

/// The text GMT prints for `text`: its escape character '@' doubled.
std::string gmt_text(const std::string& text);

}  // namespace vestra::map
