// Fuzzes vestra-fix's two readers (the text format, and detection JSON when
// the input starts with "["), the grouping into events and what follows
// them: every event read is located and written, and every JSON element is
// kept as written and given an event again. Nothing may crash, hang or leave undefined
// behaviour, whatever the bytes.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "fix/inputs.h"
#include "fix/locate.h"
#include "fix/reader.h"
#include "fix/writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::ostringstream messages;
  fix::Diagnostics diagnostics("vestra-fix", messages);
  {
    std::istringstream in(bytes);
    fix::DetectionReader all({"-"}, in, diagnostics, {.keep_raw = true});
    fix::DetectionRecord r;
    std::string out;
    while (all.next(r))
      if (r.json && r.usable) out += r.raw.with_event("\"e\"", "\"s\"");
  }
  std::istringstream in(bytes);
  const auto reader = std::make_unique<fix::InputChain>(
      std::vector<std::string>{}, in, diagnostics);
  static fix::Locator locator{fix::Settings{}};
  const fix::Writer text(fix::Format::text, locator.earth());
  const fix::Writer json(fix::Format::json, locator.earth());
  const fix::Writer geojson(fix::Format::geojson, locator.earth());
  const fix::Writer quakeml(fix::Format::quakeml, locator.earth());
  fix::Event event;
  std::string out;
  // The crossings are pairwise and a bearing line is drawn in 10 km steps:
  // bound the work per input.
  for (int n = 0; n < 64 && reader->next(event); ++n) {
    if (event.detections.size() > 24) continue;
    const fix::Solution s = locator.locate(event);
    text.write(event, s, out);
    json.write(event, s, out);
    if (event.detections.size() <= 4) geojson.write(event, s, out);
    quakeml.write(event, s, out, static_cast<std::size_t>(n));
    out.clear();
  }
  return 0;
}
