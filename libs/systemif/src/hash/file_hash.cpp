#include "systemif/hash.h"

#include <QCryptographicHash>
#include <QFile>

namespace systemif {
namespace hash {

QString calculateFileSha1Hash(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    QCryptographicHash sha1(QCryptographicHash::Sha1);
    if (!sha1.addData(&file)) return {};
    return QString::fromLatin1(sha1.result().toHex());
}

}  // namespace hash
}  // namespace systemif
