// A store in a directory of its own, and a second connection to look at it and to damage it.
#pragma once

#include "tests/store/sql.h"
#include "zunol_monitoring/store/sqlite_store.h"

class StoreScene : public testing::Test {
 protected:
  std::string query(const std::string& text) const { return sql(file_, text); }

  const TempDir dir_;
  const std::filesystem::path file_ = dir_ / "agent.db";
  zunol_monitoring::SqliteStore store_{file_};
};

/// One field of each record, in order, with a blank after each.
template <class Record, class Field>
std::string each(const std::vector<Record>& records, Field Record::*field) {
  std::string fields;
  for (const Record& record : records) {
    if constexpr (std::is_arithmetic_v<Field>) {
      fields += std::to_string(record.*field) + ' ';
    } else {
      fields += record.*field + ' ';
    }
  }
  return fields;
}
