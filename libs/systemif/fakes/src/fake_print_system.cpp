#include "systemif/print_fake.h"

namespace systemif {
namespace print {

FakePrintSystem::FakePrintSystem() : m_previous(printBackend())
{
    setPrintBackend(PrintBackend{&spooler, &usbBus, &usbPrintSupport, &serialPorts, &statusLink});
}

FakePrintSystem::~FakePrintSystem()
{
    setPrintBackend(m_previous);
}

}  // namespace print
}  // namespace systemif
