// The keys of checks_endpoints_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/checks_endpoints_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SslItem> auto& item) {
  v.field("host", item.host, "Name or address of the server whose certificate is watched");
  v.field("port", item.port, "TCP port on which the server speaks TLS");
  v.field("warning_days", item.warning_days, certificate_warning);
  v.field("critical_days", item.critical_days, certificate_critical);
  v.field("track_fingerprint", item.track_fingerprint,
          "Whether a change of the certificate's fingerprint is noticed");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SslCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("items", check.items, "The servers to watch");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DnsItem> auto& item) {
  v.field("name", item.name, item_name);
  v.field("domain", item.domain, "Name that is looked up");
  v.field("type", item.type,
          {"Type of DNS record that is asked for",
           {"A", "AAAA", "CAA", "CNAME", "MX", "NS", "PTR", "SOA", "SRV", "TXT"}});
  v.list_always("expected", item.expected, "Answers that must come; empty takes any answer");
  v.field("alert_on_change", item.alert_on_change,
          "Whether an answer that differs from the one before is reported");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DnsCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("items", check.items, "The names to look up");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DomainItem> auto& item) {
  v.field("domain", item.domain, "Registered domain whose expiry is watched");
  v.field("warning_days", item.warning_days,
          "Days before the registration ends from which a warning comes");
  v.field("critical_days", item.critical_days,
          "Days before the registration ends from which it is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DomainsCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("use_rdap", check.use_rdap, "Whether the expiry is asked of the registry by RDAP");
  v.field("soft_fail_attempts", check.soft_fail_attempts,
          "Failed look-ups in a row before the check fails");
  v.records("items", check.items, "The domains to watch");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpJsonExpectation> auto& expectation) {
  v.field("path", expectation.path,
          "Path of the value in the JSON answer; empty looks at no value");
  v.field("equals", expectation.equals, "Text that the value must be equal to");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpItem> auto& item) {
  v.field("name", item.name, item_name);
  v.field("url", item.url, "Address that is requested");
  v.field(
      "method", item.method,
      {"HTTP method of the request", {"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS"}});
  v.duration("timeout", item.timeout, request_timeout);
  v.field("expect_status", item.expect_status, "HTTP status that the answer must have");
  v.field("max_response_ms", item.max_response_ms,
          "Milliseconds that the answer may take at most; 0 is no limit");
  v.field("expect_text", item.expect_text, expect_text);
  v.list_always("reject_text", item.reject_text, reject_text);
  // The one key that is rendered only when it says something.
  if (!Visitor::rendering || !item.expect_json.path.empty()) {
    v.block("expect_json", item.expect_json, "A value that the answer must hold, where it is JSON");
  }
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("items", check.items, "The addresses to request");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ContentChangeItem> auto& item) {
  v.field("name", item.name, item_name);
  v.field("url", item.url, "Address of the page whose content is watched");
  v.duration("timeout", item.timeout, request_timeout);
  v.field("track_hash", item.track_hash, "Whether the hash of the content is remembered");
  v.field("alert_on_hash_change", item.alert_on_hash_change,
          "Whether a hash that differs from the remembered one is reported");
  v.field("baseline_auto_accept", item.baseline_auto_accept,
          "Whether a changed content becomes the remembered one by itself");
  v.field("expect_text", item.expect_text, expect_text);
  v.list_always("reject_text", item.reject_text, reject_text);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ContentChangeCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("items", check.items, "The pages to watch");
}

}  // namespace zunol_monitoring
