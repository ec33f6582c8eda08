#pragma once
// A message for the shop windows' pages, carried as the argument of a "pushMsgToBrowser" bus message.
// Its text is a compact JSON object holding the name: {"name":"pc.print.printersHasChanged"}.

#include <QString>

namespace utility_business {

class MessageJson {
public:
    explicit MessageJson(const QString& name);

    const QString& name() const { return m_name; }
    QString toString() const;

private:
    QString m_name;
};

}  // namespace utility_business
