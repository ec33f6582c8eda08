#include "systemif/print.h"

namespace systemif {
namespace print {

Document::Document(const void* data, int size)
{
    if (data && size > 0) m_bytes = QByteArray(static_cast<const char*>(data), size);
}

}  // namespace print
}  // namespace systemif
