#include "systemif/print_fake.h"

namespace systemif {
namespace print {

void FakeSerialPorts::addPort(const QString& device, bool usb, bool present)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_ports[device] = Port{usb, present};
}

void FakeSerialPorts::setPresent(const QString& device, bool present)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ports.contains(device)) m_ports[device].present = present;
}

bool FakeSerialPorts::isUsbDevice(const QString& device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ports.value(device).usb;
}

bool FakeSerialPorts::isPresent(const QString& device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ports.value(device).present;
}

}  // namespace print
}  // namespace systemif
