#pragma once
//
//  Private to systemif: not part of its interface.
//  A network printer's status, asked over TCP.
//

#include "systemif/print_backend.h"

namespace systemif {
namespace print {

// Connects to the printer, sends the ESC/POS status request and reads the answers, all within a fraction of
// a second, then closes: many receipt printers serve one connection at a time, and a job must not wait
// behind a status request.
class SocketStatusLink : public StatusLink {
public:
    PrinterAnswer ask(const QString& host, int port) override;
};

}  // namespace print
}  // namespace systemif
