// Section checks, the blocks about what is served and reached over the network: certificates, DNS,
// domains, HTTP endpoints and changing content.
#pragma once

#include <string>
#include <vector>

#include "config/visit.h"

namespace zunol_monitoring {

struct SslItem {
  std::string host;
  int port = 443;
  int warning_days = 30;
  int critical_days = 7;
  bool track_fingerprint = true;
  friend bool operator==(const SslItem&, const SslItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SslItem> auto& item) {
  v.field("host", item.host);
  v.field("port", item.port);
  v.field("warning_days", item.warning_days);
  v.field("critical_days", item.critical_days);
  v.field("track_fingerprint", item.track_fingerprint);
}

struct SslCheckConfig {
  bool enabled = false;
  std::string interval = "6h";
  std::vector<SslItem> items;
  friend bool operator==(const SslCheckConfig&, const SslCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SslCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

struct DnsItem {
  std::string name;
  std::string domain;
  std::string type = "A";
  std::vector<std::string> expected;
  bool alert_on_change = false;
  friend bool operator==(const DnsItem&, const DnsItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DnsItem> auto& item) {
  v.field("name", item.name);
  v.field("domain", item.domain);
  v.field("type", item.type);
  v.list_always("expected", item.expected);
  v.field("alert_on_change", item.alert_on_change);
}

struct DnsCheckConfig {
  bool enabled = false;
  std::string interval = "10m";
  std::vector<DnsItem> items;
  friend bool operator==(const DnsCheckConfig&, const DnsCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DnsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

struct DomainItem {
  std::string domain;
  int warning_days = 30;
  int critical_days = 7;
  friend bool operator==(const DomainItem&, const DomainItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DomainItem> auto& item) {
  v.field("domain", item.domain);
  v.field("warning_days", item.warning_days);
  v.field("critical_days", item.critical_days);
}

struct DomainsCheckConfig {
  bool enabled = false;
  std::string interval = "24h";
  bool use_rdap = true;
  int soft_fail_attempts = 3;
  std::vector<DomainItem> items;
  friend bool operator==(const DomainsCheckConfig&, const DomainsCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DomainsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("use_rdap", check.use_rdap);
  v.field("soft_fail_attempts", check.soft_fail_attempts);
  v.records("items", check.items);
}

/// What an HTTP answer is to hold at a JSON path; an empty path expects nothing.
struct HttpJsonExpectation {
  std::string path;
  std::string equals;
  friend bool operator==(const HttpJsonExpectation&, const HttpJsonExpectation&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpJsonExpectation> auto& expectation) {
  v.field("path", expectation.path);
  v.field("equals", expectation.equals);
}

struct HttpItem {
  std::string name;
  std::string url;
  std::string method = "GET";
  std::string timeout = "5s";
  int expect_status = 200;
  int max_response_ms = 0;
  std::string expect_text;
  std::vector<std::string> reject_text;
  HttpJsonExpectation expect_json;
  friend bool operator==(const HttpItem&, const HttpItem&) = default;
};

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

struct HttpCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<HttpItem> items;
  friend bool operator==(const HttpCheckConfig&, const HttpCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<HttpCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

struct ContentChangeItem {
  std::string name;
  std::string url;
  std::string timeout = "5s";
  bool track_hash = true;
  bool alert_on_hash_change = true;
  bool baseline_auto_accept = false;
  std::string expect_text;
  std::vector<std::string> reject_text;
  friend bool operator==(const ContentChangeItem&, const ContentChangeItem&) = default;
};

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

struct ContentChangeCheckConfig {
  bool enabled = false;
  std::string interval = "5m";
  std::vector<ContentChangeItem> items;
  friend bool operator==(const ContentChangeCheckConfig&,
                         const ContentChangeCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ContentChangeCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

}  // namespace zunol_monitoring
