#include "failure.h"

#include <algorithm>
#include <cstdio>

namespace zunol_monitoring::postgres_ledger {

std::string one_line(std::string_view text) {
  std::string line(text);
  constexpr char first_printable = ' ';
  constexpr char del = 0x7f;
  std::ranges::replace_if(
      line, [](char byte) { return (byte >= 0 && byte < first_printable) || byte == del; }, ' ');
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

void print_error(std::string_view message) {
  const std::string line = "postgres-ledger: " + one_line(message) + '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace zunol_monitoring::postgres_ledger
