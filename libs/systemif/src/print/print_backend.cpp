#include "systemif/print_backend.h"

#include "backend_choice_p.h"

namespace systemif {
namespace print {

namespace {

BackendChoice<PrintBackend>& choice()
{
    static BackendChoice<PrintBackend> chosen;
    return chosen;
}

}  // namespace

PrintBackend printBackend()
{
    return choice().current([](PrintBackend& backend) {
        const PrintBackend system = systemPrintBackend();
        if (!backend.spooler) backend.spooler = system.spooler;
        if (!backend.usbBus) backend.usbBus = system.usbBus;
        if (!backend.usbPrintSupport) backend.usbPrintSupport = system.usbPrintSupport;
        if (!backend.serialPorts) backend.serialPorts = system.serialPorts;
        if (!backend.statusLink) backend.statusLink = system.statusLink;
    });
}

void setPrintBackend(const PrintBackend& backend)
{
    choice().choose(backend);
}

}  // namespace print
}  // namespace systemif
