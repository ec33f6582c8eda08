#include "port_names_p.h"

#include <QUrl>

namespace systemif {
namespace print {

namespace {

struct NetworkScheme {
    const char* scheme;
    int defaultPort;
};
const NetworkScheme kNetworkSchemes[] = {
    {"socket", 9100}, {"escpos", 9100}, {"ipp", 631}, {"ipps", 631}, {"lpd", 515}, {"http", 80}, {"https", 443},
};

// Serial devices keep their COM number whatever other queues come and go: on-board ports are COM1...,
// USB adapters and USB printers with a virtual COM port get ranges of their own above them.
struct SerialKind {
    const char* prefix;
    int firstNumber;
};
const SerialKind kSerialKinds[] = {{"ttyS", 1}, {"ttyUSB", 101}, {"ttyACM", 201}};
const int kFirstOtherSerialNumber = 301;

// -1 when the scheme is not one of a network port.
int defaultPortOf(const QString& scheme)
{
    for (const NetworkScheme& network : kNetworkSchemes)
        if (scheme == QLatin1String(network.scheme)) return network.defaultPort;
    return -1;
}

// N when `name` is `prefix` followed by a decimal number N below 100 (each kind's range of COM numbers),
// else -1.
int numberAfter(const QString& name, const QString& prefix)
{
    if (!name.startsWith(prefix) || name.size() == prefix.size()) return -1;
    bool ok = false;
    const int number = name.mid(prefix.size()).toInt(&ok);
    return ok && number >= 0 && number < 100 ? number : -1;
}

bool isIpAddress(const QString& host)
{
    if (host.contains(QLatin1Char(':'))) return true;  // only an IPv6 address holds a colon
    const QStringList parts = host.split(QLatin1Char('.'));
    if (parts.size() != 4) return false;
    for (const QString& part : parts) {
        bool ok = false;
        const int value = part.toInt(&ok);
        if (!ok || value < 0 || value > 255 || part.size() > 3) return false;
    }
    return true;
}

// Numbers distinct keys from 1 in the order they are first seen.
class Numbering {
public:
    int numberOf(const QString& key)
    {
        int index = m_seen.indexOf(key);
        if (index < 0) {
            m_seen << key;
            index = m_seen.size() - 1;
        }
        return index + 1;
    }

private:
    QStringList m_seen;
};

struct PortNaming {
    Numbering usbDevices;
    Numbering otherSerialDevices;

    QString serialPortName(const QString& device)
    {
        const QString name = device.section(QLatin1Char('/'), -1);
        for (const SerialKind& kind : kSerialKinds) {
            const int number = numberAfter(name, QLatin1String(kind.prefix));
            if (number >= 0) return QStringLiteral("COM%1").arg(kind.firstNumber + number);
        }
        return QStringLiteral("COM%1").arg(kFirstOtherSerialNumber - 1 + otherSerialDevices.numberOf(device));
    }

    QString portName(const QString& deviceUri)
    {
        const QUrl url(deviceUri);
        const QString scheme = url.scheme().toLower();
        if (scheme == QLatin1String("usb"))
            return QStringLiteral("USB%1").arg(usbDevices.numberOf(deviceUri), 3, 10, QLatin1Char('0'));
        if (scheme == QLatin1String("parallel")) {
            const int number = numberAfter(url.path(), QStringLiteral("/dev/lp"));
            if (number >= 0) return QStringLiteral("LPT%1").arg(number + 1);
        }
        if (scheme == QLatin1String("serial") && !url.path().isEmpty()) return serialPortName(url.path());
        if (defaultPortOf(scheme) > 0 && !url.host().isEmpty())
            return QStringLiteral("IP_") + QString(url.host()).replace(QLatin1Char(':'), QLatin1Char('_'));
        return scheme;
    }
};

}  // namespace

QStringList portNames(const QList<SpoolerQueue>& queues)
{
    PortNaming naming;
    QStringList names;
    for (const SpoolerQueue& queue : queues) names << naming.portName(queue.deviceUri);
    return names;
}

QList<TcpIpPort> tcpIpPorts(const QList<SpoolerQueue>& queues)
{
    const QStringList names = portNames(queues);
    QList<TcpIpPort> ports;
    QStringList seen;
    for (int i = 0; i < queues.size(); ++i) {
        if (!names[i].startsWith(QLatin1String("IP_")) || seen.contains(names[i])) continue;
        seen << names[i];
        const QUrl url(queues[i].deviceUri);
        TcpIpPort port;
        port.name = names[i];
        (isIpAddress(url.host()) ? port.ipAddress : port.hostName) = url.host();
        port.portNumber = url.port(defaultPortOf(url.scheme().toLower()));
        ports << port;
    }
    return ports;
}

QString serialDevice(const QList<SpoolerQueue>& queues, const QString& portName)
{
    const QStringList names = portNames(queues);
    for (int i = 0; i < queues.size(); ++i) {
        const QUrl url(queues[i].deviceUri);
        if (url.scheme().toLower() == QLatin1String("serial") && names[i].compare(portName, Qt::CaseInsensitive) == 0)
            return url.path();
    }
    return {};
}

}  // namespace print
}  // namespace systemif
