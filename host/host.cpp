#include "host/host.h"

#include <filesystem>

#include "host/host_error.h"
#include "host/platforms.h"

namespace host {

Host::Host(const CommonOptions& options) : m_options(options)
{
    if (!options.platform.empty()) {
        PlatformByName(options.platform);
    }
}

void Host::EnterTvRoot()
{
    const bool anyWish = !m_options.tv_root.empty() || !m_options.platform.empty() ||
                         m_options.log_level != 0 || m_options.library.use_virtual;
    if (!anyWish) {
        return;  // on a television: its own paths
    }
    m_tv_root = std::make_unique<TvRootFolder>(m_options.tv_root);
    std::error_code error;
    if (!m_options.platform.empty()) {
        m_tv_root->WriteInfo(PlatformByName(m_options.platform).info);
    } else if (!std::filesystem::exists(m_tv_root->Path() + "/mtd_exe/.info", error)) {
        m_tv_root->WriteInfo(Platforms().front().info);
    }
    if (m_options.log_level != 0) {
        m_tv_root->WriteLogLevel(m_options.log_level);
    }
    m_tv_root->Enter();
}

const Library& Host::Lib()
{
    if (!m_library) {
        console.DivertDriverLog(m_options.log);
        EnterTvRoot();
        m_library = std::make_unique<Library>(m_options.library);
    }
    return *m_library;
}

}  // namespace host
