#pragma once
// The messages the service publishes on the bus. The text of a PublishMsg is one compact JSON object with
// the message's name, its type and its arguments in the order they were added, for example
//
//   {"arguments":[1,4],"name":"networkHasChanged","type":"notification"}
//
// An argument keeps its JSON type: numbers, booleans, texts, null for an empty QVariant, and lists and maps
// as arrays and objects.

#include <QString>
#include <QVariant>
#include <QVariantList>

#include <optional>

namespace utility_business {
namespace ipc_define {

class PublishMsg {
public:
    PublishMsg(const QString& name, const QString& type);

    void setType(const QString& type);
    void addArgument(const QVariant& argument);

    const QString& name() const { return m_name; }
    const QString& type() const { return m_type; }
    const QVariantList& arguments() const { return m_arguments; }

    QString toString() const;
    // The message that toString() wrote; nullopt when the text is not such a message. Whole numbers come
    // back as int (as the notifications send them) when they fit, other numbers as double.
    static std::optional<PublishMsg> fromString(const QString& text);

private:
    QString m_name;
    QString m_type;
    QVariantList m_arguments;
};

}  // namespace ipc_define
}  // namespace utility_business
