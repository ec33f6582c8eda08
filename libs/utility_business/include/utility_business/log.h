#pragma once
// The service's shared log. One record per NormalLog object: values are streamed into it and the record is
// written when the object goes out of scope.
//
//   utility_business::log::NormalLog("error", "src/db/json_db_updater", __LINE__) << "failed to save";
//
// Records go to a rotating file under the application-data directory ("logs/service_business.log") and to
// any sink added with addSink (tests read records through log::Capture).

#include <QString>
#include <QStringList>
#include <QByteArray>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace utility_business {
namespace log {

struct Record {
    std::string type;  // "function", "message" or "error"
    std::string unit;  // source unit without extension, e.g. "src/printer/print_manager"
    int line = 0;
    std::string text;  // the streamed values, concatenated
};

class NormalLog {
public:
    NormalLog(const char* type, const char* unit, int line);
    ~NormalLog();
    NormalLog(const NormalLog&) = delete;
    NormalLog& operator=(const NormalLog&) = delete;

    NormalLog& operator<<(const QString& value);
    NormalLog& operator<<(const QByteArray& value);
    NormalLog& operator<<(const char* value);
    NormalLog& operator<<(const std::string& value);
    NormalLog& operator<<(const QStringList& value);
    NormalLog& operator<<(int value);
    NormalLog& operator<<(unsigned value);
    NormalLog& operator<<(long long value);
    NormalLog& operator<<(unsigned long long value);
    NormalLog& operator<<(long value);
    NormalLog& operator<<(unsigned long value);
    NormalLog& operator<<(double value);
    NormalLog& operator<<(bool value);

private:
    Record m_record;
};

// Writes the entry record of an operation, the one shape every unit uses for it:
// "name:\t<qualified name>\narguments:\t<arguments, comma separated>".
template <typename... Arguments>
void entry(const char* unit, int line, const char* function, const Arguments&... arguments)
{
    NormalLog record("function", unit, line);
    record << "name:\t" << function << "\narguments:\t";
    const char* separator = "";
    ((record << separator << arguments, separator = ", "), ...);
    (void)separator;  // an operation without arguments
}

// Receives every record written after it was added.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void write(const Record& record) = 0;
};
void addSink(const std::shared_ptr<Sink>& sink);
void removeSink(const std::shared_ptr<Sink>& sink);

// Collects the records written while it lives; for tests.
class Capture {
public:
    Capture();
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    std::vector<Record> records() const;
    // Whether some record of the type has exactly this text.
    bool contains(const std::string& type, const std::string& text) const;
    // Whether some record's text contains the fragment.
    bool containsText(const std::string& fragment) const;
    void clear();

private:
    class Impl;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace log
}  // namespace utility_business
