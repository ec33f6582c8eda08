// Printer::buildDocument on its own: bytes per second of the example online order's receipt (80 mm, with
// the barcode) made into the printer's GB18030 document, and of a receipt-sized text of traditional and
// rare characters, with their pinyin. Before timing, each document is checked against the conversion as
// written out step by step (split at NUL, simplify, pinyin for what GB2312 lacks, encode each piece).
#include "service_business/print_cmd_formater.h"
#include "service_business/printer.h"
#include "service_business/translator.h"

#include "bench_support.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTextCodec>

#include <cstdint>
#include <cstdio>

using namespace utility_business;
using service_business::Printer;
namespace Translator = service_business::Translator;

namespace {

// Traditional characters, characters outside GB2312, an emoji and a stray byte, between printer commands.
QByteArray rareReceipt()
{
    QByteArray text;
    for (int i = 0; i < 40; ++i)
        text += QByteArray("\x1b\x61\x00", 3) + "劉德華 朱镕基 張偉（後門）😀 \xff 小籠包 x2  ￥36.50\n";
    return text;
}

// The document as the conversion is specified, one step after the other.
QByteArray reference(const QByteArray& printCmd)
{
    QTextCodec* codec = QTextCodec::codecForName("GB18030");
    QByteArray output;
    for (const QByteArray& piece : printCmd.split('\0')) {
        std::u16string printable;
        for (char16_t c : Translator::toSimplifiedChinese(QString::fromUtf8(piece).toStdU16String()))
            printable += Translator::isInGB2312(c) ? std::u16string(1, c) : Translator::toPinyin(c);
        output += codec->fromUnicode(QString::fromStdU16String(printable)) + '\0';
    }
    return output;
}

// Many texts made of pieces that stress the conversion (invalid UTF-8, a BOM at a piece's start, NULs,
// surrogate pairs, traditional and rare characters, noncharacters): true when every document agrees.
bool randomTextsAgree()
{
    const QByteArray parts[] = {QByteArray("\0", 1), "a", "Table 5\n", "\xef\xbb\xbf", "\xff", "\xc0\xaf", "\xe4\xb8",
                                "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xef\xbf\xbe", "\xef\xb7\x90", "劉", "镕", "你好",
                                "😀", "￥", "é", "\x1b\x61\x01", "\x1d\x56\x42", "\x80", "\xf0\x9f", "發髮"};
    std::uint32_t seed = 12345;
    for (int round = 0; round < 20000; ++round) {
        QByteArray text;
        const int count = int((seed = seed * 1103515245u + 12345u) >> 16) % 12;
        for (int i = 0; i < count; ++i)
            text += parts[((seed = seed * 1103515245u + 12345u) >> 16) % (sizeof parts / sizeof parts[0])];
        if (Printer::buildDocument(text).bytes() != reference(text)) {
            std::fprintf(stderr, "differs on %s\n", text.toHex(' ').constData());
            return false;
        }
    }
    return true;
}

void run(benchmark::State& state, const QByteArray& receipt)
{
    if (Printer::buildDocument(receipt).bytes() != reference(receipt)) {
        state.SkipWithError("the document differs from the step-by-step conversion");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(Printer::buildDocument(receipt));
    state.SetBytesProcessed(state.iterations() * receipt.size());
    state.counters["receipt_bytes"] = receipt.size();
}

void BM_BuildDocumentExampleOrder(benchmark::State& state)
{
    run(state, exampleReceipt());
}
BENCHMARK(BM_BuildDocumentExampleOrder);

void BM_BuildDocumentRareCharacters(benchmark::State& state)
{
    run(state, rareReceipt());
}
BENCHMARK(BM_BuildDocumentRareCharacters);

}  // namespace

int main(int argc, char** argv)
{
    if (!randomTextsAgree()) return 1;
    return runBenchmarksInATemporaryHome(argc, argv);
}
