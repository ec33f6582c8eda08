#ifndef RECEIPT_PREVIEW_TESTS_PICTURE_COMPARISON_H
#define RECEIPT_PREVIEW_TESTS_PICTURE_COMPARISON_H

#include <QImage>
#include <QPoint>
#include <QString>

// How a rendered receipt differs from its reference picture, both read as black and white dots.
//
// Tolerance: the sizes are equal (a changed line count or paper width always fails), at most 0.5% of all
// dots differ, and no 24 x 24 block holds more than 64 differing dots. Another FreeType or font build turns
// a few edge dots of many glyphs, which stays under both bounds; a character that is missing, added or
// moved changes well over 64 dots of one block (a CJK glyph has 150 or more), and a shifted line or cut
// moves whole rows. What this does not promise: telling apart two characters of similar shape, such as two
// digits; the unit tests check which characters go where.
struct PictureDifference {
    bool sameSize = false;
    int differing = 0;
    double fraction = 0;
    int worstBlock = 0;  // differing dots in the worst 24 x 24 block
    QPoint worstBlockAt; // its top-left corner

    bool withinTolerance() const;
    QString describe() const;
};

PictureDifference comparePictures(const QImage& actual, const QImage& expected);

#endif
