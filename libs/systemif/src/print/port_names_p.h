#pragma once
//
//  Private to systemif: not part of its interface.
//  Port names and the TCP/IP port view, derived from the
//  device URIs of the spooler's queues.
//

#include "systemif/print_backend.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace systemif {
namespace print {

// The port name of each queue, in the queues' order:
//   usb://...             "USB001", "USB002", ... one number per distinct device, in queue order
//   parallel:/dev/lpN     "LPT" N+1
//   serial:/dev/ttySN     "COM" N+1; ttyUSBN "COM" 101+N; ttyACMN "COM" 201+N; any other "COM" 301, ...
//   socket, ipp, ipps, lpd, http, https   "IP_" host (an IPv6 address with "_" for ":")
//   anything else         the URI's scheme
QStringList portNames(const QList<SpoolerQueue>& queues);

// One Standard TCP/IP port: the first queue with that port name gives its values.
struct TcpIpPort {
    QString name;        // "IP_192.168.1.20"
    QString hostName;    // the URI's host when it is a name, else empty
    QString ipAddress;   // the URI's host when it is an address, else empty
    int portNumber = 0;  // the URI's port, else the protocol's
};
QList<TcpIpPort> tcpIpPorts(const QList<SpoolerQueue>& queues);

// The serial device ("/dev/ttyUSB0") of the queue whose port is `portName`; empty when there is none.
QString serialDevice(const QList<SpoolerQueue>& queues, const QString& portName);

}  // namespace print
}  // namespace systemif
