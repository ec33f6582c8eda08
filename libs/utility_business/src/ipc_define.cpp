#include "utility_business/ipc_define.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

namespace utility_business {
namespace ipc_define {

namespace {

// JSON keeps one number type; give back an int where the sender most likely had one.
QVariant argumentFromJson(const QJsonValue& value)
{
    if (value.isDouble()) {
        const double number = value.toDouble();
        const bool whole = std::floor(number) == number;
        if (whole && number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) {
            return static_cast<int>(number);
        }
        return number;
    }
    return value.toVariant();
}

}  // namespace

PublishMsg::PublishMsg(const QString& name, const QString& type) : m_name(name), m_type(type) {}

void PublishMsg::setType(const QString& type) { m_type = type; }

void PublishMsg::addArgument(const QVariant& argument) { m_arguments.append(argument); }

QString PublishMsg::toString() const
{
    QJsonArray arguments;
    for (const QVariant& argument : m_arguments) arguments.append(QJsonValue::fromVariant(argument));
    const QJsonObject object{{QStringLiteral("name"), m_name},
                             {QStringLiteral("type"), m_type},
                             {QStringLiteral("arguments"), arguments}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

std::optional<PublishMsg> PublishMsg::fromString(const QString& text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue name = object.value(QStringLiteral("name"));
    const QJsonValue type = object.value(QStringLiteral("type"));
    const QJsonValue arguments = object.value(QStringLiteral("arguments"));
    if (!name.isString() || !type.isString() || !arguments.isArray()) return std::nullopt;

    PublishMsg message(name.toString(), type.toString());
    for (const QJsonValue& argument : arguments.toArray()) message.addArgument(argumentFromJson(argument));
    return message;
}

}  // namespace ipc_define
}  // namespace utility_business
