#include "resource_parser/res_loader.h"

#include <QFile>
#include <QMap>
#include <QResource>

#include <mutex>

namespace resource {

namespace {
std::mutex g_mutex;
QMap<QString, std::weak_ptr<ResLoader>>& loaders()
{
    static QMap<QString, std::weak_ptr<ResLoader>> map;
    return map;
}
int g_next = 0;
}  // namespace

std::shared_ptr<ResLoader> ResLoader::get(const QString& packagePath)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (auto existing = loaders().value(packagePath).lock()) return existing;
    // Each package gets its own mount point so two packages never shadow each other's files.
    const QString root = QStringLiteral("/sb_pak_%1").arg(g_next++);
    std::shared_ptr<ResLoader> loader(new ResLoader(packagePath, root));
    loaders().insert(packagePath, loader);
    return loader;
}

ResLoader::ResLoader(const QString& packagePath, const QString& root) : m_packagePath(packagePath), m_root(root)
{
    m_valid = !packagePath.isEmpty() && QFile::exists(packagePath) && QResource::registerResource(packagePath, root);
}

ResLoader::~ResLoader()
{
    if (m_valid) QResource::unregisterResource(m_packagePath, m_root);
}

QByteArray ResLoader::getFileData(const QString& name) const
{
    if (!m_valid) return {};
    QFile file(QStringLiteral(":") + m_root + QLatin1Char('/') + name);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll();
}

QString ResLoader::getFileText(const QString& name) const
{
    return QString::fromUtf8(getFileData(name));
}

}  // namespace resource
