#include "utility_business/message_json.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace utility_business {

MessageJson::MessageJson(const QString& name) : m_name(name) {}

QString MessageJson::toString() const
{
    const QJsonObject object{{QStringLiteral("name"), m_name}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

}  // namespace utility_business
