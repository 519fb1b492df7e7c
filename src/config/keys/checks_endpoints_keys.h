// The keys of checks_endpoints_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/checks_endpoints_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SslItem> auto& item) {
  v.field("host", item.host);
  v.field("port", item.port);
  v.field("warning_days", item.warning_days);
  v.field("critical_days", item.critical_days);
  v.field("track_fingerprint", item.track_fingerprint);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SslCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DnsItem> auto& item) {
  v.field("name", item.name);
  v.field("domain", item.domain);
  v.field("type", item.type);
  v.list_always("expected", item.expected);
  v.field("alert_on_change", item.alert_on_change);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DnsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DomainItem> auto& item) {
  v.field("domain", item.domain);
  v.field("warning_days", item.warning_days);
  v.field("critical_days", item.critical_days);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DomainsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("use_rdap", check.use_rdap);
  v.field("soft_fail_attempts", check.soft_fail_attempts);
  v.records("items", check.items);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpJsonExpectation> auto& expectation) {
  v.field("path", expectation.path);
  v.field("equals", expectation.equals);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpItem> auto& item) {
  v.field("name", item.name);
  v.field("url", item.url);
  v.field("method", item.method);
  v.duration("timeout", item.timeout);
  v.field("expect_status", item.expect_status);
  v.field("max_response_ms", item.max_response_ms);
  v.field("expect_text", item.expect_text);
  v.list_always("reject_text", item.reject_text);
  // The one key that is rendered only when it says something.
  if (!Visitor::rendering || !item.expect_json.path.empty()) {
    v.block("expect_json", item.expect_json);
  }
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ContentChangeItem> auto& item) {
  v.field("name", item.name);
  v.field("url", item.url);
  v.duration("timeout", item.timeout);
  v.field("track_hash", item.track_hash);
  v.field("alert_on_hash_change", item.alert_on_hash_change);
  v.field("baseline_auto_accept", item.baseline_auto_accept);
  v.field("expect_text", item.expect_text);
  v.list_always("reject_text", item.reject_text);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ContentChangeCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

}  // namespace zunol_monitoring
