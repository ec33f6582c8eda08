#include "systemif/print_backend.h"

#include <mutex>

namespace systemif {
namespace print {

namespace {
std::mutex g_mutex;
PrintBackend g_chosen;  // guarded by g_mutex; null members stand for the system's services
}  // namespace

PrintBackend printBackend()
{
    const PrintBackend system = systemPrintBackend();
    std::lock_guard<std::mutex> lock(g_mutex);
    PrintBackend backend = g_chosen;
    if (!backend.spooler) backend.spooler = system.spooler;
    if (!backend.usbBus) backend.usbBus = system.usbBus;
    if (!backend.usbPrintSupport) backend.usbPrintSupport = system.usbPrintSupport;
    if (!backend.serialPorts) backend.serialPorts = system.serialPorts;
    if (!backend.statusLink) backend.statusLink = system.statusLink;
    return backend;
}

void setPrintBackend(const PrintBackend& backend)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_chosen = backend;
}

}  // namespace print
}  // namespace systemif
