// sbtool format: an order or the daily summary as receipt-printer bytes.

#include "commands.h"
#include "escpos_dump.h"

#include "receipt_engine/receipt_engine.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

namespace sbtool {
namespace {

const char usageText[] =
    "usage: sbtool format [online|dine|phone|summary] [--restaurant FILE]\n"
    "                     [--order FILE | --summary FILE] [--settings FILE]\n"
    "                     [--width 58|80] [--copies N] [-o OUT] [--dump]\n"
    "\n"
    "Formats an order (online, dine-in or telephone; online when no kind is given) or the daily\n"
    "summary as receipt-printer bytes. Inputs not given are the built-in examples.\n"
    "\n"
    "  --restaurant FILE  restaurant JSON\n"
    "  --order FILE       order JSON (online, dine, phone)\n"
    "  --summary FILE     summary JSON (summary)\n"
    "  --settings FILE    print settings JSON: width, copiesOfOnlineOrder, copiesOfDineOrder,\n"
    "                     copiesOfPhoneOrder, isPrintBarcodeEnabled, lines_between_copies, style\n"
    "  --width 58|80      paper width, over the settings\n"
    "  --copies N         copies of the order, over the settings (the summary prints one)\n"
    "  -o OUT             write to OUT instead of standard output\n"
    "  --dump             write a readable form: one line per printed line, commands by name\n"
    "\n"
    "exit codes: 0 done, 1 a file, the input or the formatter failed, 2 the command line is wrong\n";

enum class Kind { Online = 0, Dine = 1, Phone = 2, Summary = 3 };

// The members of the client's print settings that formatting uses, with the client's defaults.
struct PrintSettings {
    QString width = QStringLiteral("58mm");
    int copies[3] = {1, 1, 1};  // online, dine-in, telephone
    bool isPrintBarcodeEnabled = false;
    QString linesBetweenCopies = QStringLiteral("middle");
    QString style = QStringLiteral("normal");
};

PrintSettings settingsFromJson(const QJsonObject& json)
{
    PrintSettings settings;
    settings.width = json.value(QStringLiteral("width")).toString(settings.width);
    settings.copies[0] = json.value(QStringLiteral("copiesOfOnlineOrder")).toInt(settings.copies[0]);
    settings.copies[1] = json.value(QStringLiteral("copiesOfDineOrder")).toInt(settings.copies[1]);
    settings.copies[2] = json.value(QStringLiteral("copiesOfPhoneOrder")).toInt(settings.copies[2]);
    settings.isPrintBarcodeEnabled =
        json.value(QStringLiteral("isPrintBarcodeEnabled")).toBool(settings.isPrintBarcodeEnabled);
    settings.linesBetweenCopies =
        json.value(QStringLiteral("lines_between_copies")).toString(settings.linesBetweenCopies);
    settings.style = json.value(QStringLiteral("style")).toString(settings.style);
    return settings;
}

struct FormatResult {
    EngineError code = ENGINE_OK;
    QByteArray bytes;
};

// The one call into the formatter, with the settings JSON built as the service's formatter builds it.
FormatResult formatReceipt(Kind kind, const QByteArray& restaurant, const QByteArray& input,
                           const PrintSettings& settings)
{
    QJsonObject json;
    if (kind == Kind::Summary) {
        json.insert(QStringLiteral("number_of_copies"), 1);
        json.insert(QStringLiteral("width"), settings.width);
    } else {
        json.insert(QStringLiteral("number_of_copies"), settings.copies[int(kind)]);
        json.insert(QStringLiteral("isPrintBarcodeEnabled"), settings.isPrintBarcodeEnabled);
        json.insert(QStringLiteral("lines_between_copies"), settings.linesBetweenCopies);
        json.insert(QStringLiteral("style"), settings.style);
        json.insert(QStringLiteral("width"), settings.width);
    }
    const QByteArray settingsJson = QJsonDocument(json).toJson(QJsonDocument::Compact);

    uint8_t* out = nullptr;
    uint32_t length = 0;
    FormatResult result;
    if (kind == Kind::Online)
        result.code =
            format_online_order(&out, &length, restaurant.constData(), input.constData(), settingsJson.constData());
    else if (kind == Kind::Summary)
        result.code =
            format_summary(&out, &length, restaurant.constData(), input.constData(), settingsJson.constData());
    else
        result.code =
            format_local_order(&out, &length, restaurant.constData(), input.constData(), settingsJson.constData());
    if (result.code == ENGINE_OK && out)
        result.bytes = QByteArray(reinterpret_cast<const char*>(out), int(length));
    engine_free(&out);
    return result;
}

// Reads a JSON input from path, or the built-in example when path is empty; sets error on failure.
bool readJsonInput(const QString& path, const QString& example, QByteArray* data, QJsonObject* object, QString* error)
{
    const QString source = path.isEmpty() ? QStringLiteral(":/examples/") + example : path;
    if (!readFile(source, data, error))
        return false;
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(*data, &parseError);
    if (document.isNull()) {
        *error = QStringLiteral("%1: not valid JSON: %2 at offset %3")
                     .arg(source, parseError.errorString())
                     .arg(parseError.offset);
        return false;
    }
    if (object)
        *object = document.object();
    return true;
}

int runFormat(const QStringList& args)
{
    OptionReader options(args);
    QString restaurantPath, orderPath, summaryPath, settingsPath, width, copies, outputPath;
    options.take(QStringLiteral("--restaurant"), &restaurantPath);
    const bool hasOrder = options.take(QStringLiteral("--order"), &orderPath);
    const bool hasSummary = options.take(QStringLiteral("--summary"), &summaryPath);
    options.take(QStringLiteral("--settings"), &settingsPath);
    const bool hasWidth = options.take(QStringLiteral("--width"), &width);
    const bool hasCopies = options.take(QStringLiteral("--copies"), &copies);
    options.take(QStringLiteral("-o"), &outputPath);
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
    QJsonObject settingsJson;
    if (!readJsonInput(restaurantPath, QStringLiteral("restaurant.json"), &restaurant, nullptr, &error) ||
        !readJsonInput(kind == Kind::Summary ? summaryPath : orderPath, QLatin1String(examples[int(kind)]), &input,
                       nullptr, &error) ||
        !readJsonInput(settingsPath, QStringLiteral("print_settings_58.json"), &settingsText, &settingsJson, &error))
        return fail(error);

    PrintSettings settings = settingsFromJson(settingsJson);
    if (hasWidth)
        settings.width = width + QStringLiteral("mm");
    if (hasCopies && kind != Kind::Summary)
        settings.copies[int(kind)] = copyCount;

    const FormatResult result = formatReceipt(kind, restaurant, input, settings);
    if (result.code != ENGINE_OK)
        return fail(QStringLiteral("format failed: %1 (%2)")
                        .arg(result.code)
                        .arg(QLatin1String(engine_error_text(result.code))));
    if (!writeOutput(outputPath, dump ? dumpEscPos(result.bytes) : result.bytes, &error))
        return fail(error);
    return ExitOk;
}

}  // namespace

const Command formatCommand = {"format", "format an order or the daily summary as receipt bytes", usageText, runFormat};

}  // namespace sbtool
