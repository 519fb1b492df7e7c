// Every key of the configuration file as plain values, for those who describe or explain a
// configuration: its schema, its reference, the check of a file.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "config/field_place.h"

namespace zunol_monitoring {

enum class KeyKind {
  boolean,
  integer,           ///< 32 bits
  unsigned_integer,  ///< 64 bits
  number,
  text,
  path,
  duration,
  texts,    ///< a list of texts
  records,  ///< a list of blocks, which have `children`
  block,
  unread  ///< a key that is rendered and means nothing
};

struct ConfigKey {
  std::string name;
  std::string path;  ///< "checks.http.items[].url": from the root, "[]" behind a list of blocks
  KeyKind kind = KeyKind::block;
  std::string meaning;  ///< what the value does or means, one sentence without its full stop; of a
                        ///< key that is at home elsewhere "Another name of " and its home
  std::vector<std::string> words;  ///< of a text that no rule holds to them; mostly empty
  std::string value;               ///< as JSON; empty for a block and an unread key
  FieldPlace place = no_place;     ///< the field that it feeds
  std::string home;  ///< the path under which that field is at home: of several keys, the one in
                     ///< the section of the field's record. The same as `path` for most.
  FieldPlace also = no_place;       ///< a second field, fed where the file has no other key for it
  bool credential = false;          ///< shown to nobody
  bool alternative = false;         ///< a second name, which is read and never rendered
  bool converted = false;           ///< an alternative whose value is converted; "" sets nothing
  bool emptied_with_block = false;  ///< a list: its block without it empties it
  bool kept_unless_list = false;    ///< a list: a value that is no list leaves it alone
  std::vector<ConfigKey> children;
};

/// All keys in the order of reading (of two keys for one field, the later one wins) with their
/// values in `config`; the children of a list of blocks have the defaults of an item. What is no
/// UTF-8 in a text becomes U+FFFD.
std::vector<ConfigKey> key_catalogue(const Config& config);

/// The keys and values as one JSON object, without alternative and unread keys.
std::string catalogue_json(const std::vector<ConfigKey>& keys);
/// The same as lines of YAML with this many blanks in front, an item of a list a line.
std::string catalogue_yaml(const std::vector<ConfigKey>& keys, std::size_t indent = 0);

/// Calls visit(key) for each key and, behind it, for its children.
void for_each_key(const std::vector<ConfigKey>& keys, auto&& visit) {
  for (const ConfigKey& key : keys) {
    visit(key);
    for_each_key(key.children, visit);
  }
}

}  // namespace zunol_monitoring
