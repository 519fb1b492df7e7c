#include "zunol_monitoring/config/load.h"

#include "tests/config/load_text.h"
#include "zunol_monitoring/config/render.h"

using namespace zunol_monitoring;

TEST(LoadConfig, TheWrittenOutDefaultsAreTheDefaults) {
  Config config = load_config(ZUNOL_SOURCE_DIR "/tests/config/default.yaml");
  EXPECT_EQ(config.path, ZUNOL_SOURCE_DIR "/tests/config/default.yaml");
  config.path.clear();
  EXPECT_EQ(config, default_config());
  EXPECT_EQ(default_config().agent.tags, Texts{"monitoring"});
  EXPECT_EQ(Config{}.agent.tags, Texts{});
}

// What a file says in an odd way, and what that amounts to.
constexpr const char* odd_files = R"(
// Files without keys, and keys without meaning.
   => {}
# only a comment => {}
[1, 2] => {}
checks: => {}
{unknown: {a: [1]}, vorn: {unknown: 1}} => {}
checks: {os_updates: {security_updates_warning_count: 1}} => {}
diagnostics: {profiles: } => {}
remote_actions: {require_confirmation: [1]} => {}
// The tags survive only when the whole section is missing.
agent: => agent: {tags: []}
agent: {id: x} => agent: {id: x, tags: []}
agent: {tags: scalar} => agent: {tags: []}
// Values without text, and other forms of texts, bools and numbers.
agent: {server_name: , tags: [a, ~, 1]} => agent: {server_name: 'null', tags: [a, 'null', '1']}
vorn: {wallet_file: } => vorn: {wallet_file: 'null'}
vorn: {enabled: TRUE, queue_only: Off, append_mode: n} => vorn: {queue_only: false, append_mode: false}
vorn: {flush_interval: 30, max_batch: 0x10} => vorn: {flush_interval: '30', max_batch: 16}
storage: {max_local_incidents: -1, max_local_bytes: 18446744073709551615} => storage: {max_local_incidents: -01, max_local_bytes: 0xffffffffffffffff}
vorn: {max_batch: 010} => vorn: {max_batch: 8}
vorn: {max_batch: -010} => vorn: {max_batch: -8}
vorn: {max_batch: '+7'} => vorn: {max_batch: 7}
// Two keys for one field: the one that is read last wins, wherever it stands.
telegram: {service_url: b, api_base: a} => telegram: {api_base: b}
telegram: {delivery_mode: bot} => telegram: {transport: bot}
telegram: {delivery_mode: '', transport: direct} => telegram: {transport: direct}
telegram: {delivery_mode: , transport: direct} => telegram: {transport: 'null'}
telegram: {actions_poll_enabled: false} => telegram: {poll_actions: false}
telegram: {actions_poll_enabled: true, poll_actions: false} => {}
telegram: {actions_poll_interval_sec: 20, poll_interval: 1m} => telegram: {poll_interval: 20s}
telegram: {actions_poll_interval_sec: -5} => telegram: {poll_interval: -5s}
telegram: {monitoring_alert_update_interval_sec: 7, alert_min_edit_interval_sec: 8} => telegram: {alert_min_edit_interval_sec: 7}
telegram: {monitoring_alert_force_on_level_change: false} => telegram: {alert_force_edit_on_severity_change: false}
telegram: {monitoring_alert_group_cpu_load: false} => telegram: {alert_group_cpu_load: false}
telegram: {monitoring_alert_group_window_sec: 9} => telegram: {alert_group_window_sec: 9}
// Keys of one section that feed another, which beats them key by key.
{telegram: {max_message_chars: 600}, monitoring_commands: {max_output_chars: 700}} => monitoring_commands: {max_output_chars: 700}
{telegram: {summaries: {enabled: false}}, reports: {daily: {enabled: true}}} => {}
{telegram: {summaries: {mode: normal}}, summary: {enabled: false}} => summary: {enabled: false, mode: normal}
{telegram_commands: {enabled: false}, telegram: {commands: {enabled: true, poll_limit: 7}}} => telegram_commands: {poll_limit: 7}
{remote_actions: {enabled: false, ttl_seconds: 30}, monitoring_commands: {allow_actions: true, timeout_sec: 60}} => monitoring_commands: {timeout_sec: 30}
remote_actions: {allowed_services: [], allowed_containers: [a]} => monitoring_commands: {allowed_systemd_services: [], allowed_docker_containers: [a]}
diagnostics: {redaction: {mode: normal}} => diagnostics: {default_redaction: normal, redaction: {mode: normal}}
// The schedule: emptied by its block, filled from maps only.
incidents: {repeat: {enabled: true}} => incidents: {repeat: {schedule: []}}
incidents: {repeat: } => incidents: {repeat: {schedule: []}}
incidents: {repeat: {schedule: }} => incidents: {repeat: {schedule: []}}
incidents: {repeat: {schedule: {after: 1m}}} => incidents: {repeat: {schedule: []}}
incidents: {repeat: {schedule: [{after: 1m}, {other: x}, ~, [x]]}} => incidents: {repeat: {schedule: [{after: 1m}, {after: 5m}, {after: 5m}, {after: 5m}]}}
// load: blocks beat flat keys, per_core beats usage_percent. Only load knows these keys.
checks: {load: {warning_per_core: 1, warning: {per_core: 4, usage_percent: 2}}} => checks: {load: {warning_per_core: 4}}
checks: {load: {critical_duration: 1m, critical: {duration: 9m, usage_percent: 7}}} => checks: {load: {critical_per_core: 7, critical_duration: 9m}}
checks: {cpu: {warning: {per_core: 4}, warning_per_core: 5, critical: }} => {}
// Lists that go with their block, and lists that stay until there is a sequence, or any value.
checks: {disk: {interval: 9m}, inodes: } => checks: {disk: {interval: 9m, paths: []}, inodes: {paths: []}}
checks: {disk: {paths: {path: /x}}} => checks: {disk: {paths: []}}
checks: {disk: {paths: [{warning_percent: 70}, ~]}} => checks: {disk: {paths: [{path: /, warning_percent: 70, critical_percent: 90}, {path: /, warning_percent: 80, critical_percent: 90}]}}
checks: {disk_health: {paths: }} => {}
checks: {disk_health: {paths: text}} => {}
checks: {ubuntu_health: {fail2ban: no}} => checks: {ubuntu_health: {fail2ban: false, important_services: [nginx, postgresql, docker, redis-server, zunol-monitoring-agent]}}
checks: {ubuntu_health: {important_services: {a: b}}} => checks: {ubuntu_health: {important_services: []}}
diagnostics: {disk: {exclude_paths: []}} => diagnostics: {disk: {exclude_paths: [], paths: [/, /var, /home, /opt, /share]}}
diagnostics: {disk: {paths: x}} => diagnostics: {disk: {paths: [], exclude_paths: [/proc, /sys, /dev, /run, /tmp, /var/lib/docker/overlay2]}}
checks: {http: {items: {name: n}}, logs: {files: [{patterns: {}}, {patterns: [{}]}]}} => checks: {logs: {files: [{}, {patterns: [{level: warning, threshold: 1, window: 5m}]}]}}
)";

TEST(LoadConfig, OddFilesMeanWhatPlainOnesDo) {
  for (const Texts& row : rows_of(odd_files, "=>")) {
    const Config config = load_text(row.at(0));
    EXPECT_TRUE(config == load_text(row.at(1))) << row[0] << "\n" << render_text(config);
    EXPECT_EQ(config == default_config(), row[1] == "{}") << row[0];
  }
  EXPECT_EQ(load_text("version: 2\n---\nversion: 7\n"), load_text("version: 2"));
  const auto redaction_of = [](const std::string& word) {
    return load_text("diagnostics: {default_redaction: " + word + ", redaction: {mode: normal}}")
        .diagnostics.default_redaction;
  };
  EXPECT_EQ(redaction_of("'off'"), "off");
  EXPECT_EQ(redaction_of(""), "null");
}

// Where in the line, and the fault: the first in the order of reading.
constexpr const char* faulty_files = R"(
version: one | 10: bad conversion
version: 1.5 | 10: bad conversion
version: 99999999999 | 10: bad conversion
vorn: {max_batch: } | 19: bad conversion
vorn: {max_batch: [1]} | 19: bad conversion
vorn: {max_batch: ' 1'} | 19: bad conversion
vorn: {enabled: 1} | 17: bad conversion
vorn: {relay_url: {a: b}} | 19: bad conversion
vorn: {wallet_file: [x]} | 21: bad conversion
checks: {disk_io: {warning_read_mb_s: x}} | 39: bad conversion
{vorn: {max_batch: x}, agent: {id: [x]}} | 36: bad conversion
storage: {max_local_bytes: -1} | 28: bad conversion
agent: {tags: [[a]]} | 16: bad conversion
telegram: {actions_poll_interval_sec: } | 39: bad conversion
telegram: {delivery_mode: [bot]} | 27: bad conversion
checks: {http: x, disk_health: x, network: {interval: []}} | 55: bad conversion
scalar | 1: operator[] call on a scalar (key: "version")
agent: scalar | 8: operator[] call on a scalar (key: "id")
telegram: {commands: on} | 22: operator[] call on a scalar (key: "enabled")
checks: {cpu: {warning: 80}} | 25: operator[] call on a scalar (key: "usage_percent")
checks: {load: {warning: 80}} | 26: operator[] call on a scalar (key: "usage_percent")
checks: {http: {items: [x]}} | 25: operator[] call on a scalar (key: "name")
checks: {http: {items: [{expect_json: x}]}} | 39: operator[] call on a scalar (key: "path")
incidents: {repeat: {schedule: [5m, 15m]}} | 33: operator[] call on a scalar (key: "after")
diagnostics: {profiles: {quick: on}} | 33: operator[] call on a scalar (key: "enabled")
checks: {disk_health: {io_probe: x, paths: [y]}} | 45: operator[] call on a scalar (key: "path")
{security: x, reports: x, incidents: x} | 24: operator[] call on a scalar (key: "daily")
a: [ | 1: end of sequence flow not found
a: *missing | 4: the referenced anchor is not defined
)";

TEST(LoadConfig, WhatDoesNotConvertFailsInTheLibrarysWords) {
  for (const Texts& row : rows_of(faulty_files, "|")) {
    EXPECT_EQ(error_of([&] { (void)load_text(row.at(0)); }),
              "yaml-cpp: error at line 1, column " + row.at(1))
        << row[0];
  }
}

TEST(LoadConfig, AFileThatIsNotThere) {
  const TempDir dir;
  const auto missing = dir / "a/../missing.yaml";  // printed as handed in
  EXPECT_EQ(error_of([&] { (void)load_config(missing); }), "config not found: " + missing.string());
  EXPECT_THROW((void)load_config(std::string(300, 'x')), std::filesystem::filesystem_error);
}

TEST(LoadConfig, HostileFilesEndInAnError) {
  std::string blocks;
  for (std::size_t level = 0; level < 10000; ++level) blocks += std::string(level, ' ') + "a:\n";
  for (const std::string& yaml : {std::string(10000, '['), std::string(10000, '{'), blocks,
                                  std::string("\xff\xfe\x00\xd8", 4)}) {
    EXPECT_TRUE(error_of([&] { (void)load_text(yaml); }).has_value()) << yaml.substr(0, 20);
  }
  EXPECT_EQ(load_text("&a {agent: *a}").agent.tags, Texts{});
}
