// A configuration file as its author sees it: which line gives which value, and what in it surely
// is a mistake although it loads.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "describe/key_index.h"

namespace zunol_monitoring::ctl {

struct Finding {
  int line = 0;  ///< from 1; 0 where the finding has no place in the file
  int column = 0;
  std::string message;
  std::string remedy;  ///< what to do, where that is not plain
};

/// The key of the file that gives a field its value.
struct Source {
  int line = 0;
  int column = 0;
  std::string key;       ///< its path
  bool emptied = false;  ///< it is the block, which empties a list by not having it
};

struct ConfigFile {
  std::vector<Finding> warnings;          ///< in the order of the file
  std::map<std::string, Source> sources;  ///< by the path of the field's home (ConfigKey::home)
  std::map<std::string, std::vector<Source>> items;  ///< the items of a list of blocks, likewise
};

/// What a text says of these keys, also where values are not of their types. Warned of are: keys
/// that are unknown, with the nearest known one of their block; keys that stand twice; keys without
/// effect, as another key for the field beats them; blocks and lists of another form; texts without
/// a value, which read as "null"; texts that are blank or no UTF-8; durations that are none; words
/// that their key does not know, with the nearest one; and documents behind the first; of more than
/// 200 warnings the rest is counted. Raises the YAML library's errors.
ConfigFile examine_config(const std::string& text, const KeyIndex& index);

/// Leaves the first 200 warnings, and one with the count of the rest.
void count_rest(std::vector<Finding>& warnings);

}  // namespace zunol_monitoring::ctl
