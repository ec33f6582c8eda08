// sbtool format: an order or the daily summary as receipt-printer bytes, made by the service's formatter
// exactly as the client makes them (customer texts sanitised, settings JSON built by the service).

#include "commands.h"
#include "escpos_dump.h"
#include "print_job.h"

#include "receipt_engine/receipt_engine.h"
#include "receipt_preview/receipt_preview.h"
#include "service_business/print_cmd_formater.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

namespace sbtool {
namespace {

namespace formatter = service_business::print_cmd_formater;
using utility_business::PrinterInfo;
using utility_business::SummaryPrintSettings;
using utility_business::utility_enum::OrderType;

const char usageText[] =
    "usage: sbtool format [online|dine|phone|summary] [--restaurant FILE]\n"
    "                     [--order FILE | --summary FILE] [--settings FILE]\n"
    "                     [--width 58|80] [--copies N] [-o OUT] [--dump]\n"
    "                     [--preview PNG] [--print PRINTER]\n"
    "\n"
    "Formats an order (online, dine-in or telephone; online when no kind is given) or the daily\n"
    "summary as receipt-printer bytes, through the service's formatter as the client does. Inputs\n"
    "not given are the built-in examples.\n"
    "\n"
    "  --restaurant FILE  restaurant JSON\n"
    "  --order FILE       order JSON (online, dine, phone)\n"
    "  --summary FILE     summary JSON (summary)\n"
    "  --settings FILE    print settings JSON: width, copiesOfOnlineOrder, copiesOfDineOrder,\n"
    "                     copiesOfPhoneOrder, isPrintBarcodeEnabled, lines_between_copies, style\n"
    "  --width 58|80      paper width, over the settings\n"
    "  --copies N         copies of the order, over the settings (the summary prints one)\n"
    "  -o OUT             write the bytes to OUT\n"
    "  --dump             write a readable form: one line per printed line, commands by name\n"
    "  --preview PNG      draw the receipt as the printer would print it, as a PNG picture\n"
    "  --print PRINTER    print it on the CUPS queue PRINTER, as \"sbtool print\" does\n"
    "\n"
    "The bytes (or the dump) go to standard output unless -o names a file; with --preview or\n"
    "--print they are written only when -o or --dump asks for them.\n"
    "\n"
    "exit codes: 0 done, 1 a file, the input, the formatter or the printer failed,\n"
    "            2 the command line is wrong\n";

enum class Kind { Online = 0, Dine = 1, Phone = 2, Summary = 3 };

// The print-settings JSON of the engine call, built as the service's formatter builds it.
QByteArray engineSettings(Kind kind, const SummaryPrintSettings& settings)
{
    QJsonObject json;
    if (kind == Kind::Summary) {
        json.insert(QStringLiteral("number_of_copies"), 1);
        json.insert(QStringLiteral("width"), settings.width);
    } else {
        const int copies[] = {settings.copiesOfOnlineOrder, settings.copiesOfDineOrder, settings.copiesOfPhoneOrder};
        json.insert(QStringLiteral("number_of_copies"), copies[int(kind)]);
        json.insert(QStringLiteral("isPrintBarcodeEnabled"), settings.isPrintBarcodeEnabled);
        json.insert(QStringLiteral("lines_between_copies"), settings.lines_between_copies);
        json.insert(QStringLiteral("style"), settings.style);
        json.insert(QStringLiteral("width"), settings.width);
    }
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

// The formatter keeps the engine's result code to itself. When it refuses, the engine is run once more
// on the same texts, only to name the reason in the error line.
EngineError engineCode(Kind kind, const QByteArray& restaurant, const QByteArray& input,
                       const SummaryPrintSettings& settings)
{
    const QByteArray settingsJson = engineSettings(kind, settings);
    uint8_t* out = nullptr;
    uint32_t length = 0;
    EngineError code = ENGINE_OK;
    if (kind == Kind::Online)
        code = format_online_order(&out, &length, restaurant.constData(), input.constData(), settingsJson.constData());
    else if (kind == Kind::Summary)
        code = format_summary(&out, &length, restaurant.constData(), input.constData(), settingsJson.constData());
    else
        code = format_local_order(&out, &length, restaurant.constData(), input.constData(), settingsJson.constData());
    engine_free(&out);
    return code;
}

QByteArray formatReceipt(Kind kind, const QByteArray& restaurant, const QByteArray& input,
                         const SummaryPrintSettings& settings)
{
    const QString restaurantJson = QString::fromUtf8(restaurant);
    const QString inputJson = QString::fromUtf8(input);
    if (kind == Kind::Summary) {
        PrinterInfo printer;
        printer.width = settings.width;
        return formatter::formatSummary(restaurantJson, inputJson, printer);
    }
    return formatter::formatOrder(restaurantJson, inputJson, OrderType(kind), settings);
}

// Reads a JSON input from path, or the built-in example when path is empty; sets error on failure.
bool readJsonInput(const QString& path, const QString& example, QByteArray* data, QString* error)
{
    const QString source = path.isEmpty() ? QStringLiteral(":/examples/") + example : path;
    if (!readFile(source, data, error))
        return false;
    QJsonParseError parseError;
    if (QJsonDocument::fromJson(*data, &parseError).isNull()) {
        *error = QStringLiteral("%1: not valid JSON: %2 at offset %3")
                     .arg(source, parseError.errorString())
                     .arg(parseError.offset);
        return false;
    }
    return true;
}

int runFormat(const QStringList& args)
{
    OptionReader options(args);
    QString restaurantPath, orderPath, summaryPath, settingsPath, width, copies, outputPath, previewPath, printer;
    options.take(QStringLiteral("--restaurant"), &restaurantPath);
    const bool hasOrder = options.take(QStringLiteral("--order"), &orderPath);
    const bool hasSummary = options.take(QStringLiteral("--summary"), &summaryPath);
    options.take(QStringLiteral("--settings"), &settingsPath);
    const bool hasWidth = options.take(QStringLiteral("--width"), &width);
    const bool hasCopies = options.take(QStringLiteral("--copies"), &copies);
    const bool hasOutput = options.take(QStringLiteral("-o"), &outputPath);
    const bool hasPreview = options.take(QStringLiteral("--preview"), &previewPath);
    const bool hasPrint = options.take(QStringLiteral("--print"), &printer);
    const bool dump = options.takeFlag(QStringLiteral("--dump"));
    if (!options.error().isEmpty())
        return usageError("format", options.error());

    QStringList rest = options.rest();
    Kind kind = Kind::Online;
    if (!rest.isEmpty() && !rest.first().startsWith(QLatin1Char('-'))) {
        const QString name = rest.takeFirst();
        const QStringList kinds = {QStringLiteral("online"), QStringLiteral("dine"), QStringLiteral("phone"),
                                   QStringLiteral("summary")};
        if (!kinds.contains(name))
            return usageError("format", QStringLiteral("unknown kind \"%1\"").arg(name));
        kind = Kind(kinds.indexOf(name));
    }
    if (!rest.isEmpty())
        return usageError("format", QStringLiteral("unexpected argument \"%1\"").arg(rest.first()));
    if (kind == Kind::Summary && hasOrder)
        return usageError("format", QStringLiteral("the summary takes --summary, not --order"));
    if (kind != Kind::Summary && hasSummary)
        return usageError("format", QStringLiteral("an order takes --order, not --summary"));
    if (kind == Kind::Summary && hasCopies)
        return usageError("format", QStringLiteral("the summary always prints one copy; --copies does not apply"));
    if (hasWidth && width != QLatin1String("58") && width != QLatin1String("80"))
        return usageError("format", QStringLiteral("--width must be 58 or 80"));
    bool copiesOk = true;
    const int copyCount = hasCopies ? copies.toInt(&copiesOk) : 0;
    if (!copiesOk || copyCount < 0)
        return usageError("format", QStringLiteral("--copies must be a whole number of 0 or more"));

    static const char* const examples[] = {"online_order.json", "dine_order.json", "phone_order.json", "summary.json"};
    QString error;
    QByteArray restaurant, input, settingsText;
    if (!readJsonInput(restaurantPath, QStringLiteral("restaurant.json"), &restaurant, &error) ||
        !readJsonInput(kind == Kind::Summary ? summaryPath : orderPath, QLatin1String(examples[int(kind)]), &input,
                       &error) ||
        !readJsonInput(settingsPath, QStringLiteral("print_settings_58.json"), &settingsText, &error))
        return fail(error);

    SummaryPrintSettings settings = SummaryPrintSettings::fromJson(QString::fromUtf8(settingsText));
    if (hasWidth)
        settings.width = width + QStringLiteral("mm");
    if (hasCopies) {
        int* kindCopies[] = {&settings.copiesOfOnlineOrder, &settings.copiesOfDineOrder, &settings.copiesOfPhoneOrder};
        *kindCopies[int(kind)] = copyCount;
    }

    const QByteArray receipt = formatReceipt(kind, restaurant, input, settings);
    if (receipt.isEmpty()) {
        const EngineError code = engineCode(kind, restaurant, input, settings);
        if (code == ENGINE_OK)
            return fail(QStringLiteral("format failed: the formatter refused the input"));
        return fail(QStringLiteral("format failed: %1 (%2)").arg(code).arg(QLatin1String(engine_error_text(code))));
    }

    if (hasOutput || dump || (!hasPreview && !hasPrint)) {
        if (!writeOutput(outputPath, dump ? dumpEscPos(receipt) : receipt, &error))
            return fail(error);
    }
    if (hasPreview) {
        receipt_preview::Options previewOptions;
        // The formatter has accepted the width, so it names a paper the preview knows.
        receipt_preview::paperFromName(settings.width, &previewOptions.paper);
        if (!receipt_preview::renderToPng(receipt, previewOptions, previewPath, &error))
            return fail(QStringLiteral("cannot draw %1: %2").arg(previewPath, error));
    }
    if (hasPrint)
        return printReceipt(printer, receipt);
    return ExitOk;
}

}  // namespace

const Command formatCommand = {"format", "format an order or the daily summary as receipt bytes", usageText, runFormat};

}  // namespace sbtool
