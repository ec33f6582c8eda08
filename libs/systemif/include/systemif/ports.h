#pragma once
// The spooler's Standard TCP/IP ports, read in the shape of the registry access that the service
// is written against:
//
//   auto ports = RegKey::getExistKey(HKEY_LOCAL_MACHINE, kStandardTcpIpPortsKey, KEY_READ);
//   if (ports && ports->hasSubkey("IP_192.168.1.20"))
//       host = ports->subKey("IP_192.168.1.20")->value("HostName")->toString("");
//
// The view holds one key, the ports key (kStandardTcpIpPortsKey under HKEY_LOCAL_MACHINE), made afresh
// from the spooler's printers at each getExistKey: one subkey per "IP_" port, named like the printers'
// port names, with the string values "HostName" and "IPAddress" (the one the printer's address is, the
// other empty) and the number "PortNumber" (the address's port, else the protocol's: 9100 raw socket,
// 631 IPP, 515 LPD, 80 HTTP, 443 HTTPS). Any other key does not exist, and the ports key does not exist
// while the spooler cannot be asked. Missing keys and values come back as null references.

#include "common/common.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace systemif {
namespace win {

enum RootKey { HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS };
using HKEY = RootKey;

enum AccessAuthority : unsigned { KEY_READ = 0x20019 };

// The ports key of the Standard TCP/IP port monitor, under HKEY_LOCAL_MACHINE.
extern const char* const kStandardTcpIpPortsKey;

class RegValue {
public:
    explicit RegValue(const QVariant& value) : m_value(value) {}
    // The value when it is a string, else `defaultValue`.
    QString toString(const QString& defaultValue) const;
    // The value when it is a number or a string holding a decimal number, else `defaultValue`.
    int toInt(int defaultValue) const;

private:
    QVariant m_value;
};

class RegKey {
public:
    // The key at `path` below `root` (backslash-separated, compared case-insensitively); null when it does
    // not exist. The view is read-only whatever access is asked for.
    static common::RefPtr<RegKey> getExistKey(HKEY root, const QString& path, AccessAuthority access = KEY_READ);

    explicit RegKey(const QString& name) : m_name(name) {}
    QString name() const { return m_name; }
    // Subkey names compare case-insensitively, as the registry's do.
    bool hasSubkey(const QString& name) const;
    common::RefPtr<RegKey> subKey(const QString& name) const;
    QStringList subKeyNames() const;
    common::RefPtr<RegValue> value(const QString& name) const;

    // Building the view. A subkey or value whose name is taken already is not added again.
    common::RefPtr<RegKey> addSubKey(const QString& name);
    void setValue(const QString& name, const QVariant& value);

private:
    QString m_name;
    QList<common::RefPtr<RegKey>> m_subKeys;
    QList<QPair<QString, common::RefPtr<RegValue>>> m_values;
};

}  // namespace win
}  // namespace systemif
