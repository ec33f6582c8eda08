#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// The raw USB printers that the client drives through libusb: the (vendor id, product id) pairs of the
// drivers package's "libusb/supported", and the search for an attached one.

#include "systemif/print.h"

#include <QList>
#include <QString>

namespace service_business {
namespace usb_printer_list {

struct UsbId {
    unsigned short vendorId = 0;
    unsigned short productId = 0;
};

// The pairs of a "libusb/supported" text: one "vendor,product" pair of hexadecimal numbers per line, with
// every "\r", "\n" and " " removed first; empty lines and lines of another shape are skipped.
QList<UsbId> parseSupportedList(const QString& text);

// The supported pairs, read from the drivers package at the first call that finds the list empty.
// Safe from any thread.
QList<UsbId> supportedList();

// Whether the device's vendor and product ids are a pair of the list.
bool isSupported(const systemif::print::UsbDevice& device, const QList<UsbId>& list);

// The first of the attached USB printers (in the USB library's order) that is supported; false when none is.
bool findSupportedPrinter(systemif::print::UsbDevice& printer);

}  // namespace usb_printer_list
}  // namespace service_business
