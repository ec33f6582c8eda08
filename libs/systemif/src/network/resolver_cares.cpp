#include "network/network_p.h"

#include "systemif/network.h"

#include <ares.h>
#include <arpa/inet.h>
#include <netdb.h>
#include <poll.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>

namespace systemif {
namespace network {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTryTimeoutMs = 1000;  // c-ares doubles it on each further round of tries
constexpr int kTries = 2;

struct Lookup {
    bool done = false;
    QString address;
};

void onHost(void* argument, int status, int /*timeouts*/, hostent* host)
{
    auto* lookup = static_cast<Lookup*>(argument);
    lookup->done = true;
    if (status != ARES_SUCCESS || !host || host->h_addrtype != AF_INET || !host->h_addr_list || !host->h_addr_list[0]) {
        return;
    }
    char text[INET_ADDRSTRLEN];
    if (inet_ntop(AF_INET, host->h_addr_list[0], text, sizeof text)) lookup->address = QString::fromLatin1(text);
}

bool isLabelCharacter(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
           (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-') || c == QLatin1Char('_');
}

// Runs the channel's queries until the lookup is done or the deadline passes.
void drive(ares_channel channel, const Lookup& lookup, Clock::time_point deadline)
{
    while (!lookup.done) {
        const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (remaining.count() <= 0) return;

        ares_socket_t sockets[ARES_GETSOCK_MAXNUM];
        const int bits = ares_getsock(channel, sockets, ARES_GETSOCK_MAXNUM);
        pollfd fds[ARES_GETSOCK_MAXNUM];
        nfds_t count = 0;
        for (int i = 0; i < ARES_GETSOCK_MAXNUM; ++i) {
            short events = 0;
            if (ARES_GETSOCK_READABLE(bits, i)) events |= POLLIN;
            if (ARES_GETSOCK_WRITABLE(bits, i)) events |= POLLOUT;
            if (events) fds[count++] = pollfd{sockets[i], events, 0};
        }
        timeval most{static_cast<time_t>(remaining.count() / 1000), static_cast<suseconds_t>(remaining.count() % 1000 * 1000)};
        timeval next{};
        ares_timeout(channel, &most, &next);
        const int waitMs = static_cast<int>(next.tv_sec * 1000 + (next.tv_usec + 999) / 1000);

        if (::poll(fds, count, waitMs) <= 0) {
            ares_process_fd(channel, ARES_SOCKET_BAD, ARES_SOCKET_BAD);  // lets c-ares handle its time-outs
            continue;
        }
        for (nfds_t i = 0; i < count; ++i) {
            const short got = fds[i].revents;
            if (!got) continue;
            ares_process_fd(channel, (got & (POLLIN | POLLERR | POLLHUP)) ? fds[i].fd : ARES_SOCKET_BAD,
                            (got & POLLOUT) ? fds[i].fd : ARES_SOCKET_BAD);
        }
    }
}

}  // namespace

bool isValidHostName(const QString& text)
{
    QString name = text;
    if (name.endsWith(QLatin1Char('.'))) name.chop(1);
    if (name.isEmpty() || name.size() > 253) return false;
    const QStringList labels = name.split(QLatin1Char('.'));
    return std::all_of(labels.begin(), labels.end(), [](const QString& label) {
        return !label.isEmpty() && label.size() <= 63 && std::all_of(label.begin(), label.end(), isLabelCharacter);
    });
}

QString resolveIPv4(const QString& host, const QStringList& servers, std::chrono::milliseconds timeout)
{
    if (!isValidHostName(host)) return {};
    static std::once_flag initialised;
    std::call_once(initialised, [] { ares_library_init(ARES_LIB_INIT_ALL); });
    const Clock::time_point deadline = Clock::now() + timeout;

    ares_options options{};
    int mask = ARES_OPT_TIMEOUTMS | ARES_OPT_TRIES;
    options.timeout = kTryTimeoutMs;
    options.tries = kTries;
    char dnsOnly[] = "b";  // given servers are asked alone: the hosts file would answer in their place
    if (!servers.isEmpty()) {
        options.lookups = dnsOnly;
        mask |= ARES_OPT_LOOKUPS;
    }
    Lookup lookup;  // declared before the channel: destroying the channel still calls back into it
    ares_channel raw = nullptr;
    if (ares_init_options(&raw, &options, mask) != ARES_SUCCESS) return {};
    const std::unique_ptr<ares_channeldata, decltype(&ares_destroy)> channel(raw, &ares_destroy);
    if (!servers.isEmpty() &&
        ares_set_servers_ports_csv(channel.get(), servers.join(QLatin1Char(',')).toLatin1().constData()) != ARES_SUCCESS) {
        return {};
    }

    ares_gethostbyname(channel.get(), host.toLatin1().constData(), AF_INET, onHost, &lookup);
    drive(channel.get(), lookup, deadline);
    return lookup.address;  // a lookup still running is cancelled when the channel is destroyed
}

}  // namespace network
}  // namespace systemif
