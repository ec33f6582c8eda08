#pragma once
// HTTP(S) download of a whole reply body into memory.

#include "url_transporter/downloader_req_info.h"

#include <QString>

namespace transporter {

class Downloader {
public:
    // The body of the reply, decoded as UTF-8. Empty on any failure: an unreachable server, a time-out, an
    // HTTP status outside 200-299, a body over maxBytes. `error` (when given) is set to the reason.
    static QString downloadFileContent(const DownloaderReqInfo& request, QString* error = nullptr);
};

}  // namespace transporter
