// How the agent records something in the history without waiting for the history service.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace zunol_monitoring {

class VornHistoryWriter {
 public:
  VornHistoryWriter() = default;
  virtual ~VornHistoryWriter() = default;
  VornHistoryWriter(const VornHistoryWriter&) = delete;
  VornHistoryWriter& operator=(const VornHistoryWriter&) = delete;

  /// Records an event of a type of the catalogue with this data.
  virtual void enqueue(const std::string& type, const nlohmann::json& data) = 0;
  /// The same, with the values moved out of the data.
  virtual void enqueue(const std::string& type, nlohmann::json&& data) = 0;
  /// Delivers recorded events that are due and returns how many were delivered.
  virtual int flush() = 0;
};

}  // namespace zunol_monitoring
