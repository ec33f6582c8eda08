#pragma once
// Private to systemif: not part of its interface.
// The services a process uses, one struct of pointers per area (print, network): null members stand for the
// machine's own, which a test replaces by installing fakes.

#include <mutex>

namespace systemif {

template <typename Backend>
class BackendChoice {
public:
    // The chosen services, with the machine's own put in place of null members by `fillNulls`.
    template <typename Fill>
    Backend current(Fill fillNulls) const
    {
        Backend backend;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            backend = m_chosen;
        }
        fillNulls(backend);
        return backend;
    }
    void choose(const Backend& backend)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_chosen = backend;
    }

private:
    mutable std::mutex m_mutex;
    Backend m_chosen;  // guarded by m_mutex
};

}  // namespace systemif
