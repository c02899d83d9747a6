// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"

namespace nimbara {
namespace net {

/// Ends the network thread now: requests under way end as `Fetcher::kCancelled` without a
/// completion, as `Fetcher::cancel` would end them; a completion that is running is waited for.
/// Returns when the thread has gone and every reference that it held is given up; a later `fetch`
/// starts anew. Safe from any thread and in static destructors, under `Fetcher::cancel`'s rule: the
/// caller holds no lock that a completion takes. Called from a completion it does not wait; the
/// thread ends behind that completion. A thread that was ending by itself, having nothing to do, is
/// not waited for.
///
/// Nobody has to call this. An idle thread ends by itself, and the end of the process stops a busy
/// one (waiting at most two seconds for a completion that does not return). A library that is
/// unloaded while requests run stays mapped until the thread has ended and the process unloads
/// another library or this one again; whoever wants it gone at once shuts down first.
PELORIN_HOST_EXPORT void ShutDownNetwork();

}  // namespace net
}  // namespace nimbara
