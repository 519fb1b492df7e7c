// An event on its way into the outbox: judged and written without a copy of its data.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// What build_event makes of its arguments, which must outlive the draft.
class EventDraft {
 public:
  /// Raises as build_event does.
  EventDraft(const Config& config, const std::string& type, const nlohmann::json& data);

  const std::string& event_id() const { return event_id_; }
  /// What validate_event says of the event.
  std::optional<std::string> fault() const;
  /// The event itself.
  nlohmann::json event() const;
  /// What event().dump() gives and raises.
  std::string text() const;

 private:
  nlohmann::json payload() const;
  void append_payload(std::string& text) const;

  const Config& config_;
  const std::string& type_;
  const nlohmann::json& data_;
  const nlohmann::json* unwrapped_ = nullptr;  ///< the payload, where the data is only its wrapping
  std::string event_id_;
  std::string level_;
  std::string created_at_;
};

}  // namespace zunol_monitoring
