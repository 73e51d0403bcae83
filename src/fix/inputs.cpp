#include "fix/inputs.h"

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <deque>
#include <fstream>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>

namespace fix {

DetectionReader::DetectionReader(const std::vector<std::string>& files,
                                 std::istream& standard_input,
                                 Diagnostics& diagnostics,
                                 const ReadOptions& options,
                                 const std::string& standard_input_name)
    : files_(files), in_(standard_input), diag_(diagnostics),
      options_(options) {
  if (files_.empty()) files_.push_back("-");
  for (const std::string& f : files_)
    names_.push_back(f == "-" ? standard_input_name : f);
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

void InputChain::JsonRun::add(DetectionRecord& r) {
  if (!r.event_known) return;
  if (events.empty() || events[last].name != r.event) {
    const auto [at, fresh] = index.try_emplace(r.event, events.size());
    if (fresh) events.emplace_back().name = r.event;
    last = at->second;
  }
  Head& h = events[last];
  if (r.event.empty()) unassociated.add(r);
  if (!r.usable) {
    ++h.refused;
    return;
  }
  (h.last == none ? h.first : next[h.last]) = detections.size();
  h.last = detections.size();
  ++h.count;
  detections.push_back(std::move(r.detection));
  next.push_back(none);
}

void InputChain::JsonRun::take(Event& event) {
  Head& h = events[taken++];
  event.name = std::move(h.name);
  event.refused = h.refused;
  event.detections.clear();
  event.detections.reserve(h.count);
  for (std::size_t i = h.first; i != none; i = next[i])
    event.detections.push_back(std::move(detections[i]));
  if (taken == events.size()) *this = JsonRun{};
}

// The next record of the JSON run; false at its end (a record of text is
// then kept for later).
bool InputChain::pull_json() {
  return pull() && (record_.json || !(keep_ = true));
}

void InputChain::read_json_run() {
  json_ = JsonRun{};
  if (threads_ > 1) {
    read_json_ahead();
  } else {
    do json_.add(record_);
    while (pull_json());
  }
  json_.unassociated.warn(diag_);
}

// The records are read and parsed on a thread of their own and handed over
// in batches, a bounded number at a time; messages are written by that
// thread alone, in input order.
void InputChain::read_json_ahead() {
  constexpr std::size_t batch_records = 256, batches_ahead = 16;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::vector<DetectionRecord>> queue;
  bool done = false;
  std::thread reader([&] {
    std::vector<DetectionRecord> batch;
    bool more = true;
    while (more) {
      batch.push_back(std::move(record_));
      more = pull_json();
      if (batch.size() < batch_records && more) continue;
      std::unique_lock<std::mutex> lock(mutex);
      changed.wait(lock, [&] { return queue.size() < batches_ahead; });
      queue.push_back(std::move(batch));
      batch.clear();
      done = !more;
      changed.notify_all();
    }
  });
  for (;;) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return done || !queue.empty(); });
    if (queue.empty()) break;
    std::vector<DetectionRecord> batch = std::move(queue.front());
    queue.pop_front();
    changed.notify_all();
    lock.unlock();
    for (DetectionRecord& r : batch) json_.add(r);
  }
  reader.join();
}

bool InputChain::next(Event& event) {
  for (;;) {
    if (json_.taken < json_.events.size()) {
      json_.take(event);
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
