// sbtool preview: receipt bytes drawn as the paper a receipt printer prints.

#include "commands.h"

#include "receipt_preview/receipt_preview.h"

namespace sbtool {
namespace {

const char usageText[] =
    "usage: sbtool preview FILE -o OUT.png [--width 58|80] [--encoding auto|utf8|gb18030]\n"
    "                      [--scale N]\n"
    "\n"
    "Draws FILE, receipt-printer bytes (as \"sbtool format -o\" writes them, or a job a printer\n"
    "received), as the printed paper, and saves the picture as PNG.\n"
    "\n"
    "  -o OUT.png            the picture to write\n"
    "  --width 58|80         paper width in mm (58 when not given)\n"
    "  --encoding NAME       how the text is read: utf8 (what the formatter writes), gb18030 (what\n"
    "                        a printer receives), or auto (utf8 when it is valid with at least one\n"
    "                        character beyond ASCII, else gb18030; the default)\n"
    "  --scale N             pixels per printer dot, 1 to 3 (1 when not given)\n"
    "\n"
    "exit codes: 0 done, 1 the file could not be read or drawn, 2 the command line is wrong\n";

int runPreview(const QStringList& args)
{
    OptionReader options(args);
    QString output, width, encoding, scale;
    const bool hasOutput = options.take(QStringLiteral("-o"), &output);
    const bool hasWidth = options.take(QStringLiteral("--width"), &width);
    const bool hasEncoding = options.take(QStringLiteral("--encoding"), &encoding);
    const bool hasScale = options.take(QStringLiteral("--scale"), &scale);
    if (!options.error().isEmpty())
        return usageError("preview", options.error());
    const QStringList rest = options.rest();
    if (rest.isEmpty())
        return usageError("preview", QStringLiteral("no FILE to draw"));
    if (rest.size() > 1)
        return usageError("preview", QStringLiteral("unexpected argument \"%1\"").arg(rest.at(1)));
    if (!hasOutput)
        return usageError("preview", QStringLiteral("-o OUT.png is required"));

    receipt_preview::Options picture;
    if (hasWidth && (width.endsWith(QLatin1String("mm")) || !receipt_preview::paperFromName(width, &picture.paper)))
        return usageError("preview", QStringLiteral("--width must be 58 or 80"));
    if (hasEncoding && !receipt_preview::encodingFromName(encoding, &picture.encoding))
        return usageError("preview", QStringLiteral("--encoding must be auto, utf8 or gb18030"));
    bool scaleOk = true;
    if (hasScale)
        picture.scale = scale.toInt(&scaleOk);
    if (!scaleOk || picture.scale < 1 || picture.scale > receipt_preview::kMaxScale)
        return usageError("preview", QStringLiteral("--scale must be a whole number from 1 to %1")
                                         .arg(receipt_preview::kMaxScale));

    QByteArray bytes;
    QString error;
    if (!readFile(rest.first(), &bytes, &error))
        return fail(error);
    if (!receipt_preview::renderToPng(bytes, picture, output, &error))
        return fail(QStringLiteral("cannot draw %1: %2").arg(rest.first(), error));
    return ExitOk;
}

}  // namespace

const Command previewCommand = {"preview", "draw receipt bytes as the printed paper (PNG)", usageText, runPreview};

}  // namespace sbtool
