// zunol-monitoring-ctl event stream: a line of JSON in for each event, and an answer out for each.
#include "ctl/event_stream.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "ctl/event_intake.h"
#include "ctl/input.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

/// The lines of standard input. Of one that is too long only the beginning is kept.
class Lines {
 public:
  static constexpr std::size_t longest = largest_event_bytes;

  /// The next line without its line feed, longer than `longest` where it was cut; nothing at the
  /// end. Calls before_wait() when the rest of it is not there yet.
  template <class BeforeWait>
  std::optional<std::string> next(BeforeWait before_wait) {
    std::string line;
    bool any = false;
    while (true) {
      const std::size_t end = std::min(buffer_.find('\n', begin_), buffer_.size());
      const std::string_view part = std::string_view(buffer_).substr(begin_, end - begin_);
      line.append(part.substr(0, longest + 1 - std::min(longest + 1, line.size())));
      any = any || !part.empty();
      begin_ = end + 1;
      if (end < buffer_.size()) return line;
      pollfd ready = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
      if (poll(&ready, 1, 0) == 0) before_wait();
      if (!fill()) return any ? std::optional(line) : std::nullopt;
    }
  }

 private:
  bool fill() {
    buffer_.resize(65536);
    begin_ = 0;
    ssize_t count = -1;
    while ((count = read(STDIN_FILENO, buffer_.data(), buffer_.size())) < 0 &&
           (errno == EINTR || errno == EAGAIN)) {
      // Where who gave it has made it non-blocking.
      pollfd ready = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
      if (errno == EAGAIN) poll(&ready, 1, -1);
    }
    if (count < 0) {
      throw std::runtime_error(std::string("cannot read standard input: ") + std::strerror(errno));
    }
    buffer_.resize(static_cast<std::size_t>(count));
    return count > 0;
  }

  std::string buffer_;
  std::size_t begin_ = 0;
};

std::optional<std::string> text_of(const json& request, const char* key) {
  const auto found = request.find(key);
  if (found == request.end()) return std::nullopt;
  if (!found->is_string()) throw std::runtime_error(std::string(key) + " is no text");
  return found->get<std::string>();
}

json answer(const Config& config, SqliteStore& store, const std::string& line) {
  if (line.size() > Lines::longest) throw std::runtime_error("the line is larger than 16 MiB");
  const json request = parse_data(line);
  if (!request.is_object()) throw std::runtime_error("the line is no JSON object");
  const std::string type = text_of(request, "type").value_or("");
  const json data = event_data(request.value("data", json::object()), text_of(request, "level"),
                               text_of(request, "id"));
  require_good_event(config, type, data);
  const QueuedEvent event = queue_event(config, store, type, data);
  return {{"event_id", event.event_id}, {"queued", event.queued}};
}

/// The events of lines that came together, committed as one: a commit costs as much as a hundred of
/// them. No answer is given before its event is on the disk.
class Batch {
 public:
  explicit Batch(SqliteStore& store) : store_(store) {}

  /// So that the -wal stays small, and others can write in between.
  bool is_full() const { return answers_.size() == most_lines || bytes_ >= largest_event_bytes; }
  /// `bytes` is the length of the line.
  void add(std::size_t bytes, const std::function<json()>& answer) {
    bytes_ += bytes;
    if (answers_.empty()) store_.exec("BEGIN IMMEDIATE");
    answers_.push_back(answer());
  }
  void commit() {
    if (answers_.empty()) return;
    store_.exec("COMMIT");
    for (const json& answer : answers_) print_json(answer);
    answers_.clear();
    bytes_ = 0;
    finish_output();  // the sender may wait for it
  }

 private:
  static constexpr std::size_t most_lines = 1000;

  SqliteStore& store_;
  std::vector<json> answers_;
  std::size_t bytes_ = 0;
};

/// Status 1 when a line was refused. A failure of the store ends the stream: a line without an
/// answer is not queued.
int stream(const Tool& tool) {
  const Config config = read_config(tool.config);
  if (!config.vorn.enabled) throw std::runtime_error("vorn.enabled=false: nothing is queued");
  SqliteStore store = open_or_make(config);
  int status = done;
  Lines lines;
  Batch batch(store);
  while (const auto line = lines.next([&batch] { batch.commit(); })) {
    batch.add(line->size(), [&]() -> json {
      try {
        return answer(config, store, *line);
      } catch (const StoreError&) {
        throw;
      } catch (const std::exception& error) {
        status = failed;
        return {{"error", error.what()}};
      }
    });
    if (batch.is_full()) batch.commit();
  }
  batch.commit();
  return status;
}

}  // namespace

void add_stream_command(CLI::App& group, Tool& tool) {
  add_command(tool, group, "stream",
              "Queue an event for each line of standard input, {\"type\": ..., \"level\": ..., "
              "\"id\": ..., \"data\": ...}, and answer with a line of JSON once it is on the disk",
              [&tool] { return stream(tool); });
}

}  // namespace zunol_monitoring::ctl
