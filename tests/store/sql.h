// A second connection to a database, as another process would have it.
#pragma once

#include "tests/process.h"

/// What the program sqlite3 prints for `text`: a line for each row, with "|" between the columns.
inline std::string sql(const std::filesystem::path& file, const std::string& text) {
  const ProcessResult run =
      run_process({"/usr/bin/sqlite3", "-batch", "-init", "/dev/null", file, text}, {});
  EXPECT_EQ(run.status, 0) << run.err << text;
  return run.out;
}
