#include "ledger.h"

#include <bit>
#include <nlohmann/json.hpp>

#include "failure.h"

namespace zunol_monitoring::postgres_ledger {
namespace {

// From the server's catalogue, where they never change.
constexpr Oid bytea_type = 17;
constexpr Oid text_type = 25;
constexpr Oid bytea_list_type = 1001;
constexpr Oid text_list_type = 1009;

constexpr std::size_t longest_id_bytes = 1024;  // as in the schema

void append_number(std::string& bytes, std::size_t number) {
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(number >> shift);
}

/// A list in the server's binary form: dimensions, whether a null is in it, the type of the items;
/// the length and first index of the one dimension; and the items, each behind its length.
std::string list_of(Oid type, const std::vector<Event>& events, std::string_view Event::*member) {
  constexpr std::size_t head_size = 20;
  std::size_t size = head_size;
  for (const Event& event : events) size += (event.*member).size() + sizeof(std::int32_t);
  std::string bytes;
  bytes.reserve(size);
  for (const std::size_t number :
       {std::size_t{1}, std::size_t{0}, std::size_t{type}, events.size(), std::size_t{1}}) {
    append_number(bytes, number);
  }
  for (const Event& event : events) {
    append_number(bytes, (event.*member).size());
    bytes += event.*member;
  }
  return bytes;
}

/// The items of a list of plain words, as the server writes it: {added,known}.
std::vector<std::string> words_of(std::string_view list) {
  std::vector<std::string> words(1);
  for (const char byte : list) {
    if (byte == ',') {
      words.emplace_back();
    } else if (byte != '{' && byte != '}') {
      words.back() += byte;
    }
  }
  return words;
}

}  // namespace

std::string anchor_line(const Head& head) {
  return "{\"block\":" +
         nlohmann::json(head.block).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
         ",\"sequence\":" + head.sequence + ",\"hash\":\"" + head.hash + "\"}";
}

Appended append_events(Connection& connection, const std::string& block,
                       const std::vector<Event>& events) {
  const std::string ids = list_of(text_type, events, &Event::id);
  const std::string bytes = list_of(bytea_type, events, &Event::bytes);
  const Rows rows = connection.commit(
      "SELECT verdicts, sequence, encode(head, 'hex') FROM ledger.append($1, $2, $3)",
      {{text_type, block}, {text_list_type, ids}, {bytea_list_type, bytes}});
  Appended appended;
  if (PQntuples(rows.get()) == 1 && PQnfields(rows.get()) == 3) {
    appended.verdicts = words_of(field(rows.get(), 0, 0));
    appended.head = {block, std::string(field(rows.get(), 0, 1)),
                     std::string(field(rows.get(), 0, 2))};
  }
  if (appended.verdicts.size() != events.size()) {
    throw Failure(try_again, "ledger.append gives an answer of another version");
  }
  return appended;
}

bool can_be_id(const std::string& text) {
  try {
    (void)nlohmann::json(text).dump();
  } catch (const nlohmann::json::type_error&) {  // no UTF-8
    return false;
  }
  return !text.empty() && text.size() <= longest_id_bytes;
}

std::string explain_verdict(std::string_view verdict, std::string_view block, std::string_view id) {
  std::string text = "block " + std::string(block) + " ";
  if (verdict == "conflict") return text + "has the id " + std::string(id) + " with another event";
  if (verdict == "refused") {
    return text + "takes no id or name of more than " + std::to_string(longest_id_bytes) + " bytes";
  }
  return text + "says " + std::string(verdict) + " of the event " + std::string(id);
}

}  // namespace zunol_monitoring::postgres_ledger
