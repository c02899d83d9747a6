// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "base/logging.h"
#include "vortan/common/internal/jpeg_comments.h"

namespace vortan {

/// A new message of `family` as the class that the family is known to have. Fatal, and null, if the
/// factory has none of the family, or one of another class.
template <typename Message>
std::unique_ptr<Message> JpegCommentCreateMessage(const std::string& family) {
  std::unique_ptr<JpegCommentMessage> created(JpegCommentMessageFactory::CreateMessage(family));
  std::unique_ptr<Message> message(dynamic_cast<Message*>(created.get()));
  if (message != nullptr) {
    created.release();
  }
  PELORIN_CHECK(message);
  return message;
}

}  // namespace vortan
