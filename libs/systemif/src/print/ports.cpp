#include "systemif/ports.h"

#include "systemif/print_backend.h"

#include "port_names_p.h"

namespace systemif {
namespace win {

const char* const kStandardTcpIpPortsKey =
    "SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\Standard TCP/IP Port\\Ports";

QString RegValue::toString(const QString& defaultValue) const
{
    return m_value.userType() == QMetaType::QString ? m_value.toString() : defaultValue;
}

int RegValue::toInt(int defaultValue) const
{
    bool ok = false;
    const int number = m_value.userType() == QMetaType::QString ? m_value.toString().toInt(&ok, 10)
                                                                 : m_value.toInt(&ok);
    return ok ? number : defaultValue;
}

common::RefPtr<RegKey> RegKey::getExistKey(HKEY root, const QString& path, AccessAuthority /*access*/)
{
    QString wanted = path;
    while (wanted.startsWith(QLatin1Char('\\'))) wanted.remove(0, 1);
    while (wanted.endsWith(QLatin1Char('\\'))) wanted.chop(1);
    if (root != HKEY_LOCAL_MACHINE || wanted.compare(QLatin1String(kStandardTcpIpPortsKey), Qt::CaseInsensitive) != 0)
        return nullptr;

    QList<print::SpoolerQueue> queues;
    if (!print::printBackend().spooler->queues(queues)) return nullptr;
    auto ports = std::make_shared<RegKey>(QStringLiteral("Ports"));
    for (const print::TcpIpPort& port : print::tcpIpPorts(queues)) {
        const common::RefPtr<RegKey> key = ports->addSubKey(port.name);
        key->setValue(QStringLiteral("HostName"), port.hostName);
        key->setValue(QStringLiteral("IPAddress"), port.ipAddress);
        key->setValue(QStringLiteral("PortNumber"), port.portNumber);
    }
    return ports;
}

bool RegKey::hasSubkey(const QString& name) const
{
    return subKey(name) != nullptr;
}

common::RefPtr<RegKey> RegKey::subKey(const QString& name) const
{
    for (const common::RefPtr<RegKey>& key : m_subKeys)
        if (key->name().compare(name, Qt::CaseInsensitive) == 0) return key;
    return nullptr;
}

QStringList RegKey::subKeyNames() const
{
    QStringList names;
    for (const common::RefPtr<RegKey>& key : m_subKeys) names << key->name();
    return names;
}

common::RefPtr<RegValue> RegKey::value(const QString& name) const
{
    for (const auto& value : m_values)
        if (value.first.compare(name, Qt::CaseInsensitive) == 0) return value.second;
    return nullptr;
}

common::RefPtr<RegKey> RegKey::addSubKey(const QString& name)
{
    if (common::RefPtr<RegKey> existing = subKey(name)) return existing;
    auto key = std::make_shared<RegKey>(name);
    m_subKeys << key;
    return key;
}

void RegKey::setValue(const QString& name, const QVariant& value)
{
    if (!this->value(name)) m_values << qMakePair(name, std::make_shared<RegValue>(value));
}

}  // namespace win
}  // namespace systemif
