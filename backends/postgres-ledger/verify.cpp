#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "failure.h"
#include "ledger.h"

namespace zunol_monitoring::postgres_ledger {
namespace {

using nlohmann::json;

// Nothing of these questions is code that the ledger keeps: who can change its rows can change that
// as well. ledger.link is written out, and each name is that of pg_catalog or has its schema.
constexpr const char* trust_no_schema = "SET search_path = pg_catalog, pg_temp";

/// The first rows of each block's chain that are not what their predecessor and they themselves
/// should give, and the row at its end. Every look has one snapshot, so that appends may go on. The
/// rows are walked in the order of the key, so that none but the present one is in memory.
constexpr const char* walk_chains = R"(
SELECT b.block_id, b.sequence, fault.sequence, fault.gap, last.sequence, last.hash = b.head
FROM ledger.block b
LEFT JOIN LATERAL (
  SELECT link.sequence, link.sequence <> link.before + 1 AS gap
  FROM (
    SELECT sequence, event_id, event, hash, lag(sequence, 1, 0::bigint) OVER walk AS before,
      lag(hash, 1, sha256(convert_to(b.block_id, 'UTF8'))) OVER walk AS previous
    FROM ledger.event WHERE block_no = b.block_no WINDOW walk AS (ORDER BY sequence)) link
  WHERE link.sequence <> link.before + 1
    OR link.hash <> sha256(link.previous || int8send(link.sequence) ||
      int4send(octet_length(link.event_id)) || convert_to(link.event_id, 'UTF8') || link.event)
  ORDER BY link.sequence LIMIT 1) fault ON true
LEFT JOIN LATERAL (
  SELECT sequence, hash FROM ledger.event WHERE block_no = b.block_no
  ORDER BY sequence DESC LIMIT 1) last ON true
WHERE $1::json IS NULL OR b.block_id IN (SELECT json_array_elements_text($1::json))
ORDER BY b.block_id)";

constexpr const char* find_changed_anchors = R"(
SELECT anchor.block, anchor.sequence, e.hash IS NULL
FROM json_to_recordset($2::json) AS anchor(block text, sequence bigint, hash text)
LEFT JOIN ledger.block b ON b.block_id = anchor.block
LEFT JOIN ledger.event e ON e.block_no = b.block_no AND e.sequence = anchor.sequence
WHERE encode(e.hash, 'hex') IS DISTINCT FROM anchor.hash
  AND ($1::json IS NULL OR anchor.block IN (SELECT json_array_elements_text($1::json))))";

constexpr const char* list_unknown_blocks = R"(
SELECT name FROM json_array_elements_text($1::json) AS name
WHERE name NOT IN (SELECT block_id FROM ledger.block))";

constexpr const char* list_blocks_without_anchor = R"(
SELECT name FROM json_array_elements_text($1::json) AS name
WHERE name NOT IN (SELECT block FROM json_to_recordset($2::json) AS anchor(block text)))";

/// Goes from one block to the next in the index.
constexpr const char* list_events_without_block = R"(
WITH RECURSIVE number AS (
  SELECT min(block_no) AS no FROM ledger.event
  UNION ALL
  SELECT (SELECT min(block_no) FROM ledger.event WHERE block_no > no) FROM number
  WHERE no IS NOT NULL)
SELECT no FROM number
WHERE no IS NOT NULL AND NOT EXISTS (SELECT FROM ledger.block WHERE block_no = no))";

/// The lines of the file as one JSON list.
std::string read_anchors(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw Failure(wrong_usage, "cannot read " + file);
  json anchors = json::array();
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    const json anchor = json::parse(line, nullptr, false);
    if (!anchor.is_object() || !anchor.contains("block") || !anchor["block"].is_string() ||
        !anchor.contains("sequence") || !anchor["sequence"].is_number_integer() ||
        !anchor.contains("hash") || !anchor["hash"].is_string()) {
      throw Failure(wrong_usage, file + ':' + std::to_string(number) + ": no anchor");
    }
    anchors.push_back(anchor);
  }
  if (in.bad() || anchors.empty()) throw Failure(wrong_usage, file + " has no anchors");
  return anchors.dump();
}

/// What is wrong with a row of walk_chains, or "".
std::string fault_of(const PGresult* row) {
  const auto text = [row](int column) { return std::string(field(row, 0, column)); };
  const auto is_null = [row](int column) { return PQgetisnull(row, 0, column) == 1; };
  if (!is_null(2) && text(3) == "t") return "rows are missing before row " + text(2);
  if (!is_null(2)) return "row " + text(2) + " is changed";
  const std::string last = is_null(4) ? "0" : text(4);
  if (last != text(1)) return "the end is cut: row " + last + " of " + text(1) + " is the last";
  if (text(5) == "f") return "the head is not that of row " + last;
  return "";
}

std::string count_of(std::int64_t number, const std::string& what) {
  return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

}  // namespace

int print_anchors(const std::string& service) {
  Connection(service).for_each_row(
      "SELECT block_id, sequence, encode(head, 'hex') FROM ledger.block WHERE sequence > 0 "
      "ORDER BY block_id",
      {}, [](const PGresult* row) {
        const std::string line =
            anchor_line({std::string(field(row, 0, 0)), std::string(field(row, 0, 1)),
                         std::string(field(row, 0, 2))});
        std::puts(line.c_str());
      });
  return done;
}

int verify(const Verification& verification) {
  const std::string anchors =
      verification.anchor_file.empty() ? "" : read_anchors(verification.anchor_file);
  const std::string blocks = json(verification.blocks).dump();
  const char* chosen = verification.blocks.empty() ? nullptr : blocks.c_str();
  Connection connection(verification.service);
  std::int64_t blocks_walked = 0;
  std::int64_t rows_walked = 0;
  int status = done;
  const auto tell = [&status](std::string_view block, const std::string& fault) {
    std::printf("%s: %s\n", one_line(block).c_str(), fault.c_str());
    status = found_fault;
  };

  connection.run(trust_no_schema);
  connection.run("SET enable_seqscan = off; SET enable_bitmapscan = off; SET enable_sort = off");
  connection.for_each_row(walk_chains, {chosen}, [&](const PGresult* row) {
    ++blocks_walked;
    rows_walked += std::stoll(std::string(field(row, 0, 1)));
    const std::string fault = fault_of(row);
    if (!fault.empty()) tell(field(row, 0, 0), fault);
  });
  if (chosen != nullptr) {
    connection.for_each_row(list_unknown_blocks, {chosen}, [&](const PGresult* row) {
      tell(field(row, 0, 0), "the block is missing");
    });
  } else {
    connection.for_each_row(list_events_without_block, {}, [&](const PGresult* row) {
      tell("block_no " + std::string(field(row, 0, 0)), "events without a block");
    });
  }
  if (!anchors.empty()) {
    if (chosen != nullptr) {
      connection.for_each_row(
          list_blocks_without_anchor, {chosen, anchors.c_str()},
          [&](const PGresult* row) { tell(field(row, 0, 0), "no anchor for this block"); });
    }
    connection.for_each_row(
        find_changed_anchors, {chosen, anchors.c_str()}, [&](const PGresult* row) {
          const std::string place = "row " + std::string(field(row, 0, 1));
          tell(field(row, 0, 0), field(row, 0, 2) == "t"
                                     ? place + ", which is anchored, is missing"
                                     : place + " is not the one that is anchored");
        });
  }
  std::printf("%s of %s verified%s\n", count_of(rows_walked, "event").c_str(),
              count_of(blocks_walked, "block").c_str(), status == done ? "" : ", with faults");
  return status;
}

int print_schema() {
  std::fputs(schema_script, stdout);
  return done;
}

int install_schema(const std::string& service) {
  Connection(service).run(schema_script);
  return done;
}

}  // namespace zunol_monitoring::postgres_ledger
