// The rule book as data: what a schema for editors and the reference of the keys are made of.
#pragma once

#include <string>
#include <vector>

#include "config/field_place.h"

namespace zunol_monitoring {

/// A condition under which rules count: the field is true, or a text that is one of `words`; or,
/// the other way round, is not.
struct RuleGate {
  FieldPlace place = no_place;
  std::vector<std::string> words;  ///< empty: the field is a switch
  bool open_when = true;           ///< false: open where the field is false or another text
};

struct KeyRule {
  enum class Kind {
    between,            ///< a number from low to high
    at_least,           ///< a number from low on
    above_zero,         ///< a number above 0, not necessarily a whole one
    one_of,             ///< a text, one of words
    not_empty,          ///< a text or a list
    positive_duration,  ///< a text that parse_duration_seconds takes for 1 or more
    time_of_day,        ///< a text from "00:00" to "23:59"
    https,              ///< a text that begins with "https://"
    https_or_empty,
    relation  ///< anything else, above all rules about several keys: `message` alone tells it
  };
  Kind kind = Kind::relation;
  FieldPlace place = no_place;     ///< the field, except for a relation
  std::vector<FieldPlace> fields;  ///< those that a relation is about
  int low = 0;
  int high = 0;
  std::vector<std::string> words;
  std::string message;  ///< what validate_config says of a configuration that breaks it, with PATH
                        ///< for the path of a file
  std::string claim;  ///< the message without the name of the key and the reason; not of a relation
  std::vector<RuleGate> gates;  ///< all of them must be open
};

/// The rules that validate_config applies, in their order. The three about the modes of secret
/// files are one here.
std::vector<KeyRule> key_rules();

}  // namespace zunol_monitoring
