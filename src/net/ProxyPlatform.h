// Where proxy discovery asks: the settings of the user and of the system, and an interpreter of proxy scripts.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace keystrand {

// A proxy auto-configuration script that has been read and runs. Thread: any number at a time.
class ProxyScript {
 public:
  virtual ~ProxyScript() = default;
  // What FindProxyForURL gives: "PROXY a:3128; DIRECT". Nothing when it fails. A script that never ends never returns.
  [[nodiscard]] virtual std::optional<std::string> find(const std::string& url, const std::string& host) const = 0;
};

class ProxyPlatform {
 public:
  struct UserSettings {
    std::optional<std::string> proxy;      // "host:port"
    std::optional<std::string> scriptURL;  // or a path, as useProxyScript takes it
    bool autoDetect = false;
  };

  virtual ~ProxyPlatform() = default;

  // Nothing where there are none, or none can be read.
  virtual std::optional<UserSettings> userSettings() = 0;
  // The URL of a script that the network announces.
  virtual std::optional<std::string> detectScript() = 0;
  // "host:port", for all users.
  virtual std::optional<std::string> defaultProxy() = 0;

  // nullptr when the script cannot be had or does not compile. URLs are http or https and fetched past every proxy.
  virtual std::unique_ptr<ProxyScript> openScriptURL(const std::string& url) = 0;
  virtual std::unique_ptr<ProxyScript> openScriptFile(const std::string& path) = 0;
};

// This system: there are no settings of a user or a default to ask for, the environment has no say. Scripts have 1 MiB
// at most and 30 seconds to arrive, once, when they are opened.
ProxyPlatform& systemProxyPlatform();

}  // namespace keystrand
