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

  /// Records an event of a type of the catalogue (event_type) with this data. `{}` as data is null,
  /// not an object: for no data write nlohmann::json::object().
  virtual void enqueue(const std::string& type, const nlohmann::json& data) = 0;
  /// Delivers recorded events that are due and returns how many were delivered.
  virtual int flush() = 0;
};

}  // namespace zunol_monitoring
