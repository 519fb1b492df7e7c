// Section checks, the blocks about what is served and reached over the network: certificates, DNS,
// domains, HTTP endpoints and changing content.
#pragma once

#include <string>
#include <vector>

namespace zunol_monitoring {

struct SslItem {
  std::string host;
  int port = 443;
  int warning_days = 30;
  int critical_days = 7;
  bool track_fingerprint = true;
  friend bool operator==(const SslItem&, const SslItem&) = default;
};

struct SslCheckConfig {
  bool enabled = false;
  std::string interval = "6h";
  std::vector<SslItem> items;
  friend bool operator==(const SslCheckConfig&, const SslCheckConfig&) = default;
};

struct DnsItem {
  std::string name;
  std::string domain;
  std::string type = "A";
  std::vector<std::string> expected;
  bool alert_on_change = false;
  friend bool operator==(const DnsItem&, const DnsItem&) = default;
};

struct DnsCheckConfig {
  bool enabled = false;
  std::string interval = "10m";
  std::vector<DnsItem> items;
  friend bool operator==(const DnsCheckConfig&, const DnsCheckConfig&) = default;
};

struct DomainItem {
  std::string domain;
  int warning_days = 30;
  int critical_days = 7;
  friend bool operator==(const DomainItem&, const DomainItem&) = default;
};

struct DomainsCheckConfig {
  bool enabled = false;
  std::string interval = "24h";
  bool use_rdap = true;
  int soft_fail_attempts = 3;
  std::vector<DomainItem> items;
  friend bool operator==(const DomainsCheckConfig&, const DomainsCheckConfig&) = default;
};

/// What an HTTP answer is to hold at a JSON path; an empty path expects nothing.
struct HttpJsonExpectation {
  std::string path;
  std::string equals;
  friend bool operator==(const HttpJsonExpectation&, const HttpJsonExpectation&) = default;
};

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

struct HttpCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<HttpItem> items;
  friend bool operator==(const HttpCheckConfig&, const HttpCheckConfig&) = default;
};

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

struct ContentChangeCheckConfig {
  bool enabled = false;
  std::string interval = "5m";
  std::vector<ContentChangeItem> items;
  friend bool operator==(const ContentChangeCheckConfig&,
                         const ContentChangeCheckConfig&) = default;
};

}  // namespace zunol_monitoring
