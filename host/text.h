// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include "host/export.h"

namespace nimbara {

/// The shared null string: empty, and `isNull()`. Lives as long as the process.
PELORIN_HOST_EXPORT const QString& QStringNull();

/// Decodes NUL-terminated Base64 text. Null or empty text gives no bytes. Text that is not Base64
/// gives bytes that a later step rejects; it never fails by itself. A host may accept white space
/// and the URL alphabet; the reference host does (RFC 4648, sections 4 and 5).
PELORIN_HOST_EXPORT QByteArray Base64Decode(const char* text);

/// Base64 text of `length` bytes at `data`, in the alphabet in which the host's services expect
/// signatures. The reference host writes the URL-safe alphabet with padding. Null `data` and a
/// `length` of 0 or less give empty text.
PELORIN_HOST_EXPORT QByteArray Base64Encode(const void* data, int length);

}  // namespace nimbara
