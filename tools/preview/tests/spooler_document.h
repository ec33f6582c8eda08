#ifndef RECEIPT_PREVIEW_TESTS_SPOOLER_DOCUMENT_H
#define RECEIPT_PREVIEW_TESTS_SPOOLER_DOCUMENT_H

#include <QByteArray>
#include <QString>
#include <QTextCodec>

// What a printer receives for an engine stream: the stream split at every NUL, each piece read as UTF-8
// and written in GB18030, each followed by a NUL (so the result always ends with one).
inline QByteArray spoolerDocument(const QByteArray& utf8) {
    QTextCodec* gb18030 = QTextCodec::codecForName("GB18030");
    QByteArray document;
    for (const QByteArray& piece : utf8.split('\0')) {
        document += gb18030->fromUnicode(QString::fromUtf8(piece));
        document += '\0';
    }
    return document;
}

#endif
