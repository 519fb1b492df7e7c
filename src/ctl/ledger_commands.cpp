// zunol-monitoring-ctl ledger: what the ledger of the backend sqlite-ledger has, and has not.
#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "ctl/age.h"
#include "ctl/ledger_proof.h"
#include "ctl/listing.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "ctl/sqlite_ledger.h"
#include "ctl/tool.h"
#include "store/health.h"
#include "store/sent_events.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

struct Wish {
  std::string ledger;  ///< --ledger
  std::string block;
  std::string id;
  std::string anchor;
  int limit = 50;
};

fs::path ledger_in(const Config& config, const Wish& wish) {
  if (!wish.ledger.empty()) return wish.ledger;
  const auto named = sqlite_ledger_of(config.vorn.bridge_command);
  if (!named) {
    throw std::runtime_error("vorn.bridge_command names no sqlite-ledger: --ledger names the file");
  }
  return named->file;
}

/// A ledger that is named needs no configuration.
fs::path ledger_of(const Tool& tool, const Wish& wish) {
  return ledger_in(wish.ledger.empty() ? read_config(tool.config) : Config(), wish);
}

// ---- list, show

json to_json(const LedgerEntry& e) {
  return {{"sequence", e.sequence},
          {"history_block_id", e.block},
          {"event_id", e.event_id},
          {"type", e.type},
          {"level", e.level},
          {"bytes", e.bytes},
          {"appended_at", e.appended_at}};
}

int list_rows(const Tool& tool, const Wish& wish) {
  LedgerView ledger(ledger_of(tool, wish));
  constexpr std::size_t event_column = 4;
  Listing listing(tool.json, {"ROW", "AGE", "LEVEL", "TYPE", "EVENT", "BLOCK", "BYTES", "APPENDED"},
                  event_column);
  std::int64_t before = std::numeric_limits<std::int64_t>::max();
  for (int left = wish.limit; left > 0;) {
    const auto page =
        ledger.entries(wish.block, before, std::min(left, static_cast<int>(rows_of_a_page)));
    for (const LedgerEntry& entry : page) {
      listing.add(
          entry, [](const auto& e) { return to_json(e); },
          [](const LedgerEntry& e) -> std::vector<std::string> {
            return {std::to_string(e.sequence),
                    age_text(e.appended_at),
                    e.level,
                    e.type,
                    e.event_id,
                    e.block,
                    std::to_string(e.bytes),
                    e.appended_at};
          });
    }
    if (page.empty()) break;
    left -= static_cast<int>(page.size());
    before = page.back().sequence;
  }
  listing.finish(ledger.count(wish.block), more_by_limit(listing.rows(), wish.limit));
  return done;
}

int show_row(const Tool& tool, const Wish& wish) {
  const fs::path file = ledger_of(tool, wish);
  const auto rows = LedgerView(file).rows_of(wish.id);
  if (rows.empty()) throw std::runtime_error("no event " + wish.id + " in " + file.string());
  for (const LedgerRow& row : rows) {
    if (tool.json) {
      print_json({{"sequence", row.sequence},
                  {"history_block_id", row.block},
                  {"event_id", row.event_id},
                  {"appended_at", row.appended_at},
                  {"event", document_of(row.event)}});
      continue;
    }
    print("row " + std::to_string(row.sequence) + ", block " + printable(row.block) +
          ", appended " + printable(row.appended_at) + " (" + age_text(row.appended_at) +
          " ago)\n");
    print_document(row.event);
  }
  return done;
}

// ---- verify

int verify_chain(const Tool& tool, const Wish& wish) {
  const auto anchor = chain_link_of(wish.anchor);
  const fs::path file = ledger_of(tool, wish);
  const LedgerProof proof = prove_ledger(file, anchor);
  if (tool.json) {
    print_json({{"ledger", file.string()},
                {"ok", proof.fault.empty()},
                {"fault", proof.fault},
                {"rows", proof.rows},
                {"unlinked", proof.unlinked},
                {"head", proof.head}});
  } else {
    print(file.string() + ": " +
          (proof.fault.empty() ? coloured(Colour::green, "whole")
                               : coloured(Colour::red, printable(proof.fault))) +
          ", " + std::to_string(proof.rows) + (proof.rows == 1 ? " row" : " rows"));
    if (proof.unlinked > 0) {
      print(", of which " + std::to_string(proof.unlinked) + " are older than the chain");
    }
    print("\nhead " + printable(proof.head) + '\n');
  }
  return proof.fault.empty() ? done : failed;
}

// ---- missing

/// Tells of events whose ledger row is not theirs.
class Missing {
 public:
  explicit Missing(const Tool& tool) : tool_(tool) {}

  void tell(const std::string& event_id, const std::string& reason) {
    ++told_;
    if (tool_.json) return print_json({{"event_id", event_id}, {"reason", reason}});
    print(printable(event_id) + ": " + printable(reason) + '\n');
  }
  std::int64_t told() const { return told_; }

 private:
  const Tool& tool_;
  std::int64_t told_ = 0;
};

int missing(const Tool& tool, const Wish& wish) {
  constexpr std::size_t at_once = 10;  // with their payloads
  constexpr int most_pairs = 1000;
  const Config config = read_config(tool.config);
  const std::string& block = wish.block.empty() ? config.vorn.history_block_id : wish.block;
  StoreView queue = look_at_store(tool, config);
  const RowIds ids = queue.look(sent_row_ids);
  LedgerView ledger(ledger_in(config, wish));
  Missing found(tool);
  for (std::span<const std::int64_t> left = ids; !left.empty();) {
    const auto page = left.first(std::min(left.size(), at_once));
    left = left.subspan(page.size());
    for (const SentEvent& event : queue.look([&](sqlite3* db) { return sent_events(db, page); })) {
      const std::string there = ledger.differs(block, event.event_id, event.payload);
      if (!there.empty()) {
        found.tell(event.event_id, "sent at " + event.sent_at + ", but the ledger has " + there);
      }
    }
  }
  const auto pairs = queue.look([](sqlite3* db) { return events_with_one_marker(db, most_pairs); });
  if (pairs.size() == most_pairs) {
    print_error("of the ids that share a marker only " + std::to_string(most_pairs) + " are told");
  }
  for (const MarkerPair& pair : pairs) {
    found.tell(pair.second, "shares its marker with " + pair.first);
  }
  if (!tool.json) {
    print(std::to_string(ids.size()) + " sent events looked for, " + std::to_string(found.told()) +
          " faults\n");
  }
  return found.told() == 0 ? done : failed;
}

}  // namespace

void add_ledger_commands(CLI::App& app, Tool& tool) {
  CLI::App& group = add_group(app, "ledger", "The ledger that sqlite-ledger keeps on this host");
  const auto wish = std::make_shared<Wish>();
  const auto add = [&](const char* name, const char* description, auto run) -> CLI::App& {
    CLI::App& command = add_command(tool, group, name, description,
                                    [&tool, wish, run] { return run(tool, *wish); });
    add_option(command, "--ledger", wish->ledger,
               "The ledger; by default that of vorn.bridge_command", {.word = "PATH"});
    return command;
  };
  const auto add_block = [&](CLI::App& command, const char* description) {
    add_option(command, "--block", wish->block, description, {.word = "ID"});
  };
  CLI::App& list_command = add("list", "List its rows, newest first", list_rows);
  add_limit(list_command, wish->limit);
  add_block(list_command, "Only rows of this history block");
  add_option(add("show", "Show an event as it stands there", show_row), "ID", wish->id,
             "The event's id", {.required = true});
  add_option(add("verify", "Walk its chain of hashes and tell the first fault", verify_chain),
             "--anchor", wish->anchor, "A head that an earlier run told, kept elsewhere",
             {.word = "ROW:HASH", .check = [](const std::string& text) {
                return chain_link_of(text) ? "" : "is no row, \":\" and hash";
              }});
  add_block(add("missing", "Tell sent events that it does not have, and ids that share a marker",
                missing),
            "The history block; by default that of the configuration");
}

}  // namespace zunol_monitoring::ctl
