#include "fix/pipeline.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "fix/locate.h"

namespace fix {

namespace {

/// Events handed to a worker at a time.
constexpr std::size_t chunk_events = 64;
/// Chunks read ahead per worker: bounds the memory of a run.
constexpr std::size_t chunks_per_job = 4;

struct Chunk {
  std::size_t first = 0;  ///< the run's index of events[0]
  std::vector<Event> events;
  std::string output;
  bool done = false;
};

}  // namespace

std::size_t locate_all(EventReader& reader, const Options& options,
                       std::ostream& out) {
  const Format format = options.format;
  unsigned jobs = options.jobs;
  if (jobs == 0) jobs = std::max(1u, std::thread::hardware_concurrency());
  std::size_t events = 0;
  bool first = true;

  out << Writer::prologue(format);
  auto emit = [&](const std::string& s) {
    if (s.empty()) return;
    if (!first) out << Writer::separator(format);
    first = false;
    out.write(s.data(), static_cast<std::streamsize>(s.size()));
  };
  auto read_chunk = [&](Chunk& c) {
    Event e;
    c.first = events;
    while (c.events.size() < chunk_events && reader.next(e))
      c.events.push_back(std::move(e));
    events += c.events.size();
    return !c.events.empty();
  };
  auto process = [&](Locator& locator, const Writer& writer, Chunk& c) {
    for (std::size_t k = 0; k < c.events.size(); ++k) {
      if (!c.output.empty()) c.output += Writer::separator(format);
      writer.write(c.events[k], locator.locate(c.events[k]), c.output,
                   c.first + k);
    }
    c.events.clear();
  };

  if (jobs == 1) {
    Locator locator(options.settings);
    const Writer writer(format, locator.earth(), options.settings);
    Chunk c;
    // A failed write (a full disk) ends the run at once.
    while (out && read_chunk(c)) {
      c.output.clear();
      process(locator, writer, c);
      emit(c.output);
    }
  } else {
    std::mutex mutex;
    std::condition_variable work_ready, chunk_done;
    std::deque<Chunk*> queue;                      // waiting for a worker
    std::deque<std::unique_ptr<Chunk>> in_flight;  // in input order
    bool finished = false;

    std::vector<std::thread> workers;
    for (unsigned w = 0; w < jobs; ++w)
      workers.emplace_back([&] {
        Locator locator(options.settings);
        const Writer writer(format, locator.earth(), options.settings);
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
          work_ready.wait(lock, [&] { return finished || !queue.empty(); });
          if (queue.empty()) return;
          Chunk* c = queue.front();
          queue.pop_front();
          lock.unlock();
          process(locator, writer, *c);
          lock.lock();
          c->done = true;
          chunk_done.notify_all();
        }
      });

    // Writes the finished chunks at the front; with `wait`, waits for the
    // front one first.
    auto flush = [&](std::unique_lock<std::mutex>& lock, bool wait) {
      while (!in_flight.empty()) {
        if (wait) chunk_done.wait(lock, [&] { return in_flight.front()->done; });
        if (!in_flight.front()->done) return;
        std::unique_ptr<Chunk> c = std::move(in_flight.front());
        in_flight.pop_front();
        lock.unlock();
        emit(c->output);
        lock.lock();
        wait = false;
      }
    };

    while (out) {
      auto c = std::make_unique<Chunk>();
      if (!read_chunk(*c)) break;
      std::unique_lock<std::mutex> lock(mutex);
      queue.push_back(c.get());
      in_flight.push_back(std::move(c));
      work_ready.notify_one();
      flush(lock, in_flight.size() >= chunks_per_job * jobs);
    }
    std::unique_lock<std::mutex> lock(mutex);
    while (!in_flight.empty()) flush(lock, true);
    finished = true;
    work_ready.notify_all();
    lock.unlock();
    for (std::thread& t : workers) t.join();
  }
  out << Writer::epilogue(format);
  return events;
}

}  // namespace fix
