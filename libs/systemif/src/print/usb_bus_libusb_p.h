#pragma once
//
//  Private to systemif: not part of its interface.
//  The USB bus through libusb 0.1.
//

#include "systemif/print_backend.h"

namespace systemif {
namespace print {

// libusb 0.1 keeps one process-wide bus list that every scan rewrites, so all calls are serialised.
class LibusbBus : public UsbBus {
public:
    QList<UsbDevice> devices() override;
    // Finds the device again by bus and name, claims its printer interface (detaching a kernel driver
    // that holds it) and writes in bulk to its OUT endpoint.
    bool write(const UsbDevice& device, const Document& doc) override;
    bool portStatus(const UsbDevice& device, unsigned char* status) override;
};

}  // namespace print
}  // namespace systemif
