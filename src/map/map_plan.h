// What GMT is told to draw for one event: the page layout, the data files
// and the list of GMT commands, all computed without running GMT.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "map/map_event.h"
#include "map/map_view.h"

namespace vestra::map {

struct DrawOptions {
  int width_px = 1200;   ///< page size in pixels (PNG) or pixels at `dpi`
  int height_px = 900;
  int dpi = 150;
  bool pdf = false;      ///< PDF instead of PNG
  std::optional<LonLat> truth;
  std::string gmt = "gmt";  ///< the program run, looked up in PATH
};

/// The page and the map's place on it, in points.
struct PageLayout {
  double page_w = 0, page_h = 0;  ///< the whole page
  double area_w = 0, area_h = 0;  ///< the room for the map below the titles
  double map_w = 0, map_h = 0;    ///< the map's frame, centred in the room
  MapView view;
  std::vector<std::string> titles;  ///< the title lines, first one on top
};

/// A file GMT reads, by its name in the drawing directory.
struct DataFile {
  std::string name;
  std::string contents;
};

/// The arguments of one GMT command after the program's name.
using Command = std::vector<std::string>;

/// Everything one map takes: the files to write, the commands to run in
/// order in the directory that holds them, and the picture they make there.
struct MapPlan {
  std::vector<DataFile> files;
  std::vector<Command> commands;
  std::string picture;  ///< "map.png" or "map.pdf"
};

/// The layout of the map of `event`, the `number`th of the input (counted
/// from 1, for the title of an unnamed event). Throws MapError when the
/// event has nothing to draw or the page is too small for a map.
PageLayout layout_page(const MapEvent& event, const DrawOptions& options,
                       std::size_t number);

/// The plan of the map of `event`; throws as layout_page does.
MapPlan plan_map(const MapEvent& event, const DrawOptions& options,
                 std::size_t number);

/// The text GMT prints for `text`: its escape character '@' doubled, line
/// breaks and tabs made blanks.
std::string gmt_text(const std::string& text);

}  // namespace vestra::map
