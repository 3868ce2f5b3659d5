// Finding the proxy instead of being told it: from the settings of the user or the system, or from a proxy
// auto-configuration script. What is found goes into ProxyState; whatever fails leaves a direct connection.
//
// A proxy of the settings serves the socket client alone: the libcurl client only follows scripts, and of their answers
// takes the host but not the port.
//
// Thread: any. Scripts run one at a time, and no lock of the settings is held meanwhile.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "net/Credentials.h"
#include "net/ProxyPlatform.h"
#include "net/ProxyState.h"

namespace keystrand {

// With a script: that script or nothing. Without: the user's settings, then the system's. Returns whether requests
// may go through a proxy from now on.
bool httpDiscoverProxy(const std::optional<std::string>& script, const std::optional<Credentials>& credentials,
                       ProxyPlatform& platform = systemProxyPlatform());

// A fixed proxy, else a script, else one that the network announces.
bool discoverFromUserSettings(const std::optional<Credentials>& credentials, ProxyPlatform& platform);
// A URL of http or https whose host has 128 characters at most, or the path of a file, which may begin with file://.
// The script is read once, and asked once for a URL of the reserved domain "example"; if it cannot answer that, it is
// not taken.
bool useProxyScript(const std::string& location, const std::optional<Credentials>& credentials,
                    ProxyPlatform& platform);

// Where a script is in force, asks it about this URL: its answer goes into `state`, a request's own copy, and into the
// shared settings as well unless they have changed meanwhile. Nothing else is done.
//
// A script from a URL: the first of its PROXY entries, unless DIRECT comes before all. One from a file: its first entry
// must be the PROXY. An answer that names none means a direct connection.
void resolveProxy(const std::string& url, const std::string& host, ProxyState& state);

}  // namespace keystrand
