#pragma once
// The client's other processes, as the service sees them.

namespace utility_business {
namespace process {

// Whether a shop window of the client is running: a live process other than the caller whose command name
// (as /proc/<pid>/stat gives it) is one of the shop window's program names. The names are the comma-separated
// list in SERVICE_BUSINESS_APP_PROCESSES, else "zhevo-browser". The kernel keeps the first 15 characters of a
// command name, so longer names match on those. Zombies do not count: they have already exited.
bool hasKelmoAppRunning();

}  // namespace process
}  // namespace utility_business
