#pragma once

/**
 * What the operations on reasons share besides their words: their arguments, and their forms for one service and for
 * C. The place is that of the exported function, for an argument that is refused.
 */

#include <string>

#include <veskcore.h>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** An operation that sets or clears a reason of services and tells the services that failed. */
using ReasonOperation = bool(const std::string& strReason, const Texts& vecServices, Texts& vecFailed);

/** The same for one service. */
using OneReasonOperation = bool(const std::string& strReason, const std::string& strService);

/** Whether the reason may be one, and there are services. */
bool ReasonArguments(const char* szFile, int nLine, const std::string& strReason, const Texts& vecServices);

/** Runs `operation` on one service, whose failure the result tells. */
bool OneServiceForm(const char* szFile, int nLine, const std::string& strReason, const std::string& strName,
                    ReasonOperation* operation);

/** The C form for one service. */
int COneServiceForm(const char* szFile, int nLine, const char* szReason, const char* szService,
                    OneReasonOperation* operation);

/** The C form for a list of services. */
int CServiceGroupForm(const char* szFile, int nLine, const char* szReason, const VLIBCSzList* pListServices,
                      VLIBCSzList** ppListFailed, ReasonOperation* operation);

} // namespace VESK::Systemd
