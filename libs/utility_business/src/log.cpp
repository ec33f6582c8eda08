#include "utility_business/log.h"

#include "utility_business/kelmo_path_info.h"

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <QDir>

#include <algorithm>

namespace utility_business {
namespace log {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<std::shared_ptr<Sink>> sinks;
    std::shared_ptr<spdlog::logger> file;
    bool fileTried = false;
};

Registry& registry()
{
    static Registry* r = new Registry;  // outlives static destructors of other units that still log
    return *r;
}

std::shared_ptr<spdlog::logger> fileLogger(Registry& r)
{
    if (!r.fileTried) {
        r.fileTried = true;
        const QString dir = kelmoPathInfo().logDir();
        if (QDir().mkpath(dir)) {
            try {
                const std::string path = QDir(dir).filePath(QStringLiteral("service_business.log")).toStdString();
                auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(path, 5 * 1024 * 1024, 3);
                r.file = std::make_shared<spdlog::logger>("service_business", sink);
                r.file->set_pattern("%Y-%m-%d %H:%M:%S.%e [%t] %v");
                r.file->flush_on(spdlog::level::err);
            } catch (const spdlog::spdlog_ex&) {
                r.file.reset();  // an unwritable log directory must not stop the service
            }
        }
    }
    return r.file;
}

}  // namespace

NormalLog::NormalLog(const char* type, const char* unit, int line)
{
    m_record.type = type ? type : "";
    m_record.unit = unit ? unit : "";
    m_record.line = line;
}

NormalLog::~NormalLog()
{
    Registry& r = registry();
    std::vector<std::shared_ptr<Sink>> sinks;
    std::shared_ptr<spdlog::logger> file;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        sinks = r.sinks;
        file = fileLogger(r);
    }
    if (file) {
        const auto level = m_record.type == "error" ? spdlog::level::err : spdlog::level::info;
        file->log(level, "[{}] {}:{} {}", m_record.type, m_record.unit, m_record.line, m_record.text);
    }
    for (const auto& sink : sinks) sink->write(m_record);
}

NormalLog& NormalLog::operator<<(const QString& value) { m_record.text += value.toStdString(); return *this; }
NormalLog& NormalLog::operator<<(const QByteArray& value) { m_record.text += value.toStdString(); return *this; }
NormalLog& NormalLog::operator<<(const char* value) { if (value) m_record.text += value; return *this; }
NormalLog& NormalLog::operator<<(const std::string& value) { m_record.text += value; return *this; }
NormalLog& NormalLog::operator<<(const QStringList& value) { return *this << value.join(QStringLiteral(", ")); }
NormalLog& NormalLog::operator<<(int value) { m_record.text += std::to_string(value); return *this; }
NormalLog& NormalLog::operator<<(unsigned value) { m_record.text += std::to_string(value); return *this; }
NormalLog& NormalLog::operator<<(long value) { m_record.text += std::to_string(value); return *this; }
NormalLog& NormalLog::operator<<(unsigned long value) { m_record.text += std::to_string(value); return *this; }
NormalLog& NormalLog::operator<<(long long value) { m_record.text += std::to_string(value); return *this; }
NormalLog& NormalLog::operator<<(unsigned long long value) { m_record.text += std::to_string(value); return *this; }
NormalLog& NormalLog::operator<<(double value) { m_record.text += QString::number(value).toStdString(); return *this; }
NormalLog& NormalLog::operator<<(bool value) { m_record.text += value ? "true" : "false"; return *this; }

void addSink(const std::shared_ptr<Sink>& sink)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.sinks.push_back(sink);
}

void removeSink(const std::shared_ptr<Sink>& sink)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.sinks.erase(std::remove(r.sinks.begin(), r.sinks.end(), sink), r.sinks.end());
}

class Capture::Impl : public Sink {
public:
    void write(const Record& record) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        records.push_back(record);
    }
    mutable std::mutex mutex;
    std::vector<Record> records;
};

Capture::Capture() : m_impl(std::make_shared<Impl>()) { addSink(m_impl); }
Capture::~Capture() { removeSink(m_impl); }

std::vector<Record> Capture::records() const
{
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    return m_impl->records;
}

bool Capture::contains(const std::string& type, const std::string& text) const
{
    for (const Record& r : records())
        if (r.type == type && r.text == text) return true;
    return false;
}

bool Capture::containsText(const std::string& fragment) const
{
    for (const Record& r : records())
        if (r.text.find(fragment) != std::string::npos) return true;
    return false;
}

void Capture::clear()
{
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    m_impl->records.clear();
}

}  // namespace log
}  // namespace utility_business
