#pragma once

/** What the operations on reasons share besides their words: their forms for one service and for C. */

#include <string>

#include <veskcore.h>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** An operation that sets or clears a reason of services and tells the services that failed. */
using ReasonOperation = bool(const std::string& strReason, const Texts& vecServices, Texts& vecFailed);

/** Runs `operation` on one service, whose failure the result tells. */
bool OneServiceForm(const std::string& strReason, const std::string& strService, ReasonOperation* operation);

/** Runs `operation` on a list; on failure pushes the failed services to the caller's list if there is one. */
bool ServiceGroupForm(const char* szReason, const VLIBCSzList* pListServices, VLIBCSzList** ppListFailed,
                      ReasonOperation* operation);

} // namespace VESK::Systemd
