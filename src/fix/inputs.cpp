#include "fix/inputs.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unordered_map>
#include <utility>

namespace fix {

DetectionReader::DetectionReader(const std::vector<std::string>& files,
                                 std::istream& standard_input,
                                 Diagnostics& diagnostics,
                                 const ReadOptions& options)
    : files_(files), in_(standard_input), diag_(diagnostics),
      options_(options) {
  if (files_.empty()) files_.push_back("-");
  for (const std::string& f : files_) names_.push_back(f == "-" ? "<stdin>" : f);
}

bool DetectionReader::next(DetectionRecord& record) {
  for (;;) {
    if (reader_ && reader_->next(record)) return true;
    reader_.reset();
    file_.reset();
    if (index_ >= files_.size()) return false;
    const std::size_t i = index_++;
    const std::string& name = files_[i];
    if (name == "-") {
      reader_ = open_input(in_, names_[i], i, diag_, options_);
      continue;
    }
    std::error_code ec;
    if (std::filesystem::is_directory(name, ec)) {
      diag_.error(name, "is a directory");
      continue;
    }
    file_ = std::make_unique<std::ifstream>(name, std::ios::binary);
    if (!*file_) {
      diag_.error(name, std::string("cannot open: ") + std::strerror(errno));
      continue;
    }
    reader_ = open_input(*file_, name, i, diag_, options_);
  }
}

std::string DetectionReader::where(const DetectionRecord& record) const {
  const std::string& name = names_[record.input];
  return record.json ? name + ": [" + std::to_string(record.position) + "]"
                     : name + ":" + std::to_string(record.position);
}

void InputChain::Unassociated::add(const DetectionRecord& r) {
  if (!r.usable) return;
  if (detections++ == 0 || r.input != last_input) ++inputs;
  last_input = r.input;
}

void InputChain::Unassociated::warn(Diagnostics& diagnostics) const {
  if (inputs < 2) return;
  diagnostics.note("warning: " + std::to_string(detections) +
                   " detections of " +
                      std::to_string(inputs) +
                      " inputs name no event and are located as one event "
                      "(vestra-assoc groups detections into events)");
}

bool InputChain::pull() {
  if (keep_) {
    keep_ = false;
    return true;
  }
  return reader_.next(record_);
}

bool InputChain::finish_text(Event& event) {
  if (!have_text_) return false;
  event = std::move(text_);
  text_ = Event{};
  have_text_ = false;
  if (event.name.empty()) text_unassociated_.warn(diag_);
  text_unassociated_ = Unassociated{};
  return true;
}

void InputChain::read_json_run() {
  json_events_.clear();
  json_next_ = 0;
  std::unordered_map<std::string, std::size_t> index;
  Unassociated unassociated;
  do {
    if (!record_.event_known) continue;
    const auto [at, fresh] =
        index.try_emplace(record_.event, json_events_.size());
    if (fresh) json_events_.emplace_back().name = record_.event;
    Event& e = json_events_[at->second];
    if (record_.usable)
      e.detections.push_back(std::move(record_.detection));
    else
      ++e.refused;
    if (record_.event.empty()) unassociated.add(record_);
  } while (pull() && (record_.json || !(keep_ = true)));
  unassociated.warn(diag_);
}

bool InputChain::next(Event& event) {
  for (;;) {
    if (json_next_ < json_events_.size()) {
      event = std::move(json_events_[json_next_++]);
      return true;
    }
    if (!pull()) return finish_text(event);
    if (record_.json) {
      if (finish_text(event)) {
        keep_ = true;  // the record begins a run of JSON
        return true;
      }
      read_json_run();
      continue;
    }
    if (have_text_ && text_.name != record_.event) {
      finish_text(event);
      keep_ = true;  // the record begins the next event
      return true;
    }
    if (!have_text_) {
      text_.name = record_.event;
      have_text_ = true;
    }
    if (record_.usable)
      text_.detections.push_back(std::move(record_.detection));
    else
      ++text_.refused;
    if (record_.event.empty()) text_unassociated_.add(record_);
  }
}

}  // namespace fix
