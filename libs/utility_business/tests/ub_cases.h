#pragma once
// A case table: a JSON array of objects, each with a "name", run by a TEST_P over the row numbers.
#include "qt_print.h"
#include <gtest/gtest.h>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

inline QJsonArray tableRows(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).array() : QJsonArray();
}

#define UB_CASE_TABLE(Suite, path)                                                                            \
    INSTANTIATE_TEST_SUITE_P(Cases, Suite, ::testing::Range(0, int(tableRows(path).size())), [](const auto& info) { \
        return tableRows(path).at(info.param).toObject().value(QStringLiteral("name")).toString().toStdString();                 \
    })
