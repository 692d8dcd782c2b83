// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/xml_limits.h>

#include <mutex>

namespace Nax::FrontEnd::XMLDB {

namespace {

struct SLimitsInForce {
    std::mutex mutex;
    SXmlLimits limits;
};

SLimitsInForce& InForce() {
    static SLimitsInForce inForce;
    return inForce;
}

} // namespace

void SetXmlLimits(const SXmlLimits& limits) {
    SLimitsInForce& inForce = InForce();
    const std::lock_guard lock(inForce.mutex);
    inForce.limits = limits;
}

SXmlLimits GetXmlLimits() {
    SLimitsInForce& inForce = InForce();
    const std::lock_guard lock(inForce.mutex);
    return inForce.limits;
}

} // namespace Nax::FrontEnd::XMLDB
