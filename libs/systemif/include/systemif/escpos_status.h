#pragma once
// ESC/POS real-time status: the request a receipt printer answers as soon as its bytes arrive (DLE EOT 1,
// 2 and 4), and what the answers say. Plain C++ without Qt, so that the CUPS backend can use it as well.

#include <cstddef>

namespace systemif {
namespace escpos {

// DLE EOT 1 (printer), DLE EOT 2 (offline cause), DLE EOT 4 (paper roll sensor): three answers of one byte.
constexpr unsigned char kStatusRequest[] = {0x10, 0x04, 0x01, 0x10, 0x04, 0x02, 0x10, 0x04, 0x04};
constexpr int kStatusAnswers = 3;

enum class Condition {
    Ready,
    PaperNearEnd,
    PaperOut,
    CoverOpen,
    Offline,  // offline for a reason it does not name
    Error,
    Garbled,  // the bytes are no status answers
};

// What the answers (the first `count` of the three, in request order) say. Every status byte has bits 1 and
// 4 set and bits 0 and 7 clear; the offline cause names paper out (bit 5), a cover open (bit 2) or an error
// (bit 6); the paper sensor names paper end (bits 5-6) and near end (bits 2-3).
constexpr Condition conditionOf(const unsigned char* answers, int count)
{
    for (int i = 0; i < count; ++i)
        if ((answers[i] & 0x93) != 0x12) return Condition::Garbled;
    const unsigned char printer = count > 0 ? answers[0] : 0x12;
    const unsigned char cause = count > 1 ? answers[1] : 0x12;
    const unsigned char paper = count > 2 ? answers[2] : 0x12;
    if ((paper & 0x60) || (cause & 0x20)) return Condition::PaperOut;
    if (cause & 0x04) return Condition::CoverOpen;
    if (cause & 0x40) return Condition::Error;
    if (printer & 0x08) return Condition::Offline;
    if (paper & 0x0c) return Condition::PaperNearEnd;
    return Condition::Ready;
}

// For people: "ready", "out of paper", ...
constexpr const char* conditionText(Condition condition)
{
    switch (condition) {
    case Condition::Ready: return "ready";
    case Condition::PaperNearEnd: return "paper near its end";
    case Condition::PaperOut: return "out of paper";
    case Condition::CoverOpen: return "cover open";
    case Condition::Offline: return "offline";
    case Condition::Error: return "in error";
    case Condition::Garbled: break;
    }
    return "answering status requests with bytes that are no status";
}

}  // namespace escpos
}  // namespace systemif
