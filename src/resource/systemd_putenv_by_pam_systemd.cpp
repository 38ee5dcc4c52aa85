#include "vesksystemd.hpp"

#include <cerrno>
#include <cstring>
#include <optional>
#include <pwd.h>
#include <security/pam_appl.h>
#include <unistd.h>
#include <utility>

#include "core/c_memory.hpp"
#include "core/log.hpp"
#include "resource/runtime_folder.hpp"

using namespace VESK::Systemd;

namespace
{

/** A PAM transaction, ended with the result of its last step. */
class PamTransaction
{
public:
    PamTransaction(const char* szService, const char* szUser)
        : m_nResult(pam_start(szService, szUser, &m_conversation, &m_pHandle))
    {
    }

    ~PamTransaction()
    {
        if (m_pHandle == nullptr) {
            return;
        }
        const int nResult = pam_end(std::exchange(m_pHandle, nullptr), m_nResult);
        if (nResult != PAM_SUCCESS) {
            VESK_LOG(LOG_ERR, "%s:%d Failed to pam_end (%s)", VESK_HERE, pam_strerror(nullptr, nResult));
        }
    }

    PamTransaction(const PamTransaction&) = delete;
    PamTransaction& operator=(const PamTransaction&) = delete;

    bool IsStarted() const { return m_nResult == PAM_SUCCESS; }

    bool OpenSession()
    {
        m_nResult = pam_open_session(m_pHandle, 0);
        return m_nResult == PAM_SUCCESS;
    }

    /** Null when there is no memory for it. The list is the caller's, and so is each of its strings. */
    std::unique_ptr<char*, FreeDeleter> EnvironmentGet()
    {
        std::unique_ptr<char*, FreeDeleter> pList(pam_getenvlist(m_pHandle));
        if (pList == nullptr) {
            m_nResult = PAM_BUF_ERR;
        }
        return pList;
    }

    const char* ErrorText() { return pam_strerror(m_pHandle, m_nResult); }

private:
    // Nothing is asked of the user, so there is nobody to converse with.
    pam_conv m_conversation{nullptr, nullptr};
    pam_handle_t* m_pHandle = nullptr;
    int m_nResult;
};

/** The user's passwd entry, whose texts stand in `vecBuffer`; nothing when it has none. */
std::optional<passwd> PasswdGet(uid_t uid, std::vector<char>& vecBuffer)
{
    vecBuffer.assign(1024, '\0');
    while (true) {
        passwd entry{};
        passwd* pEntry = nullptr;
        const int nError = getpwuid_r(uid, &entry, vecBuffer.data(), vecBuffer.size(), &pEntry);
        if (nError == 0) {
            return pEntry == nullptr ? std::nullopt : std::make_optional(entry);
        }
        VESK_LOG(LOG_ERR, "%s:%d Failed to getpwuid_r (%s)", VESK_HERE, strerror(nError));
        if (nError != ERANGE) {
            return std::nullopt;
        }
        vecBuffer.assign(vecBuffer.size() * 2, '\0');
    }
}

CText UserNameGet(uid_t uid)
{
    std::vector<char> vecBuffer;
    const std::optional<passwd> entry = PasswdGet(uid, vecBuffer);
    if (!entry || entry->pw_name == nullptr || *entry->pw_name == '\0') {
        VESK_LOG(LOG_ERR, "%s:%d Failed to GetUsername", VESK_HERE);
        return nullptr;
    }
    CText pName(strdup(entry->pw_name));
    if (pName == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to strdup (%m)", VESK_HERE);
    }
    return pName;
}

bool PutSessionEnvironment(const char* szUser)
{
    PamTransaction transaction("systemd-user", szUser);
    if (!transaction.IsStarted()) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to pam_start (%s)", VESK_HERE, transaction.ErrorText());
        return false;
    }
    if (!transaction.OpenSession()) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to pam_open_session (%s)", VESK_HERE, transaction.ErrorText());
        return false;
    }
    const auto pList = transaction.EnvironmentGet();
    if (pList == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to pam_getenvlist (%s)", VESK_HERE, transaction.ErrorText());
        return false;
    }
    for (char** ppVariable = pList.get(); *ppVariable != nullptr; ++ppVariable) {
        // From here on the string is part of the environment.
        if (putenv(*ppVariable) != 0) {
            VESK_LOG(LOG_ERR, "%s:%d Failed to putenv (%m)", VESK_HERE);
        }
    }
    return true;
}

/** For systemctl, which finds the user's systemd by it, where the session has not told. */
void PutRuntimeFolder(uid_t uid)
{
    const std::string strFolder = RuntimeFolderGet(uid);
    if (!strFolder.empty() && setenv("XDG_RUNTIME_DIR", strFolder.c_str(), 0) != 0) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to putenv (%m)", VESK_HERE);
    }
}

} // namespace

void VESKSystemdPutEnvByPAMSystemd()
{
    const uid_t uid = getuid();
    if (uid == 0) {
        return;
    }
    const CText pUser = UserNameGet(uid);
    if (pUser == nullptr || !PutSessionEnvironment(pUser.get())) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to put env by pam systemd for %lld", VESK_HERE,
                 static_cast<long long>(uid));
    }
    PutRuntimeFolder(uid);
}
