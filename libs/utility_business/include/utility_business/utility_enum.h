#pragma once
// Enumerations shared by the service and the client. Each has int as its underlying type, so a value read
// from a file or handed over by a caller that lies outside the listed ones is still a valid value to test.

namespace utility_business {
namespace utility_enum {

// 0 online order; 1 and 2 local orders (dine-in, telephone).
enum OrderType : int { ORDER_ONLINE = 0, ORDER_DINE = 1, ORDER_PHONE = 2 };

// How a printer is reached.
enum PrinterType : int {
    PRINTER_UNUSABLE = 0,
    PRINTER_SYSTEM_LOCAL = 1,     // spooler queue on a local port
    PRINTER_SYSTEM_NETWORK = 2,   // spooler queue on a TCP/IP port
    PRINTER_LIBUSB = 3,           // raw USB printer driven through libusb
    PRINTER_USB_PRINT_SUPPORT = 4 // kernel USB printer-class device
};

// Bit set: 1 a printer became available, 2 one went away, 3 both.
enum PrinterModification : int { PRINTER_UNCHANGED = 0, PRINTER_ADDED = 1, PRINTER_REMOVED = 2, PRINTER_ADDED_AND_REMOVED = 3 };

// Stored as "basis" (one set of settings for all printers) or "advance" (settings per printer).
enum PrinterSettingsMode : int { PRINTER_SETTINGS_BASIS = 0, PRINTER_SETTINGS_ADVANCE = 1 };

// Network state reported to the shop windows.
enum NetErrType : int { NET_OK = 0, NET_DISCONNECTED = 1, NET_SERVER_UNREACHABLE = 2, NET_PROXY_FAILED = 3 };

}  // namespace utility_enum
}  // namespace utility_business
