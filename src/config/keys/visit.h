// How a record of the configuration declares its keys: once, directly below the record, in a
// function
//
//   template <class Visitor>
//   void visit_keys(Visitor& v, MaybeConst<Record> auto& record)
//
// that calls one verb of the visitor for each key, once, in the order of reading. The loader, the
// renderer and every other walker are visitors. The verbs:
//
//   field(key, value)         a scalar: bool, int, 64-bit unsigned, double, text or path
//   duration(key, text)       a text in the grammar of parse_duration_seconds
//   credential(key, text)     a text that is shown to nobody
//   alias(key, value)         a second key for a field or a block of another name: read, never
//                             rendered. The key read last wins.
//   alias(key, value, feed)   the same, where feed(what was read, value) stores it
//   feeds(key, value)         called for visitors that neither read nor render: the key, declared
//                             before, also feeds this field where the file has no other key for it
//   literal(key, text)        rendered as it stands, never read
//   list(key, texts)          a list of texts, replaced only when the key is present
//   list_always(key, texts)   a list of texts, emptied when its block is present without it
//   records(key, list)        a list of records, emptied when its block is present without it;
//                             rendered as "[]" when empty
//   bare_records(key, list)   the same, but rendered as a bare key when empty
//   kept_records(key, list)   as bare_records, but replaced only by a sequence
//   block(key, record)        a block with keys of its own: a record, or a callable that is handed
//                             the visitor of the block
//   flow_block(key, record)   the same, rendered on one line
//
// Each verb but feeds and the alias with a feed takes one further argument, the KeyText of the key:
// one short sentence, without its full stop, on what the value does or means for the person who
// sets it, or {sentence, {words}}. A key that feeds a field at home elsewhere needs none. Visitors
// that do not tell it take it as Untold.
//
// A visitor that reads also answers has(key): whether the block has the key.
//
// A visitor also says, as static constants, whether it is `reading` (it changes what it visits) and
// whether it is `rendering`, for the few places where the two differ.
#pragma once

#include <concepts>
#include <type_traits>

#include "config/keys/key_text.h"

namespace zunol_monitoring {

/// T is Record or const Record, so that one body serves reading and rendering.
template <class T, class Record>
concept MaybeConst = std::same_as<std::remove_const_t<T>, Record>;

}  // namespace zunol_monitoring
