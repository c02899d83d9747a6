// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"

namespace nimbara {
namespace spatial {

/// The bytes of a signature, before Base64.
constexpr int kElevationSignatureSize = 20;

/// Writes the signature of an elevation request, 20 bytes, to `out`. `data` is the path and the
/// query of the request as they go over the wire, `length` bytes without the item "signature".
///
/// The signature is HMAC-SHA1 (RFC 2104) under the deployment's key, over a message as long as
/// `data` in which a fixed block of 64 bytes stands in place of the first 64 bytes of `data`:
///
///     HMAC(key, "pelorin elevation request 1" and 37 zero bytes, then data[64 .. length))
///
/// So the first 64 bytes are not signed: whoever changes only them keeps a good signature. They
/// hold the path and the fixed items of a query, of which a service answers one form only. A text
/// of less than 64 bytes is signed as if zero bytes followed it up to 64, so all such texts have
/// the same signature. A null `data` and a `length` below 0 count as no text; a null `out` does
/// nothing.
///
/// Any number of threads may sign at one time.
PELORIN_EXPORT void ComputeElevationQuerySignature(const unsigned char* data, int length,
                                                   unsigned char* out);

/// Sets the key that all later signatures are made with: `length` bytes of any value, the longer
/// the better up to 64; of a longer one the SHA-1 digest is the key, as RFC 2104 has it. Without a
/// call it is the 23 characters "pelorin development key", good for a service of one's own on the
/// same machine only. A null `key` and a `length` of 0 or less go back to that one.
///
/// The key is a secret of the deployment, shared with its elevation service: it belongs into the
/// viewer's protected storage and not into its program. It is kept masked and put together for the
/// moment of signing only, which keeps it out of a search through the memory, not from a debugger.
///
/// To be called before the first query, on the thread that makes the queries.
PELORIN_EXPORT void SetElevationQueryKey(const unsigned char* key, int length);

}  // namespace spatial
}  // namespace nimbara
