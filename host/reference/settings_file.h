// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

#include "host/export.h"
#include "host/settings.h"

namespace nimbara {

/// The text form in which the reference host keeps a settings group between sessions: UTF-8, one
/// `key=value` a line, for instance
///
/// ```
/// # PelorinSpatial
/// metaDataFetchServer=http://127.0.0.1:8080/plk
/// road distance threshold (sq)=1.5e-10
/// render roads=false
/// ```
///
/// White space around key and value does not count. A switch is true, false, 1 or 0; a number is
/// decimal, with a dot in every locale. A character that cannot stand for itself is written `\\` or
/// `\uXXXX` (its UTF-16 code units in hexadecimal): line breaks, blanks at an end, a `=` in a key.
/// Empty lines and those that begin with `#` are comments.

/// A line that could not be taken, and why.
struct PELORIN_HOST_EXPORT SettingsProblem {
  int line = 0;  ///< From 1.
  QString reason;
};

/// The longest text that is read, in bytes. A full group has about 1,000.
constexpr int kSettingsTextMaxBytes = 1 << 20;

/// The settings of `group` that differ from their defaults, in order of registration, so that a
/// later default reaches everyone who did not choose otherwise. Figures of the session are left
/// out, as are numbers that are not finite. Numbers have as many digits as it takes to read the
/// same number back. Call it on the thread that owns the group.
PELORIN_HOST_EXPORT QByteArray SaveSettings(const SettingGroup& group);

/// Gives the settings of `group` the values of the text, each as a write of its own: stamped, and
/// notified if it is a change. A setting that the text does not name keeps its value. A line that
/// is not understood, names no setting or one that is not kept, or holds no value of its type
/// leaves everything as it is and is reported, in the order of the lines; the others are taken
/// nevertheless. Any bytes may go in; text beyond `kSettingsTextMaxBytes` is one problem, and no
/// line of it is taken.
PELORIN_HOST_EXPORT std::vector<SettingsProblem> LoadSettings(const QByteArray& text,
                                                              SettingGroup* group);

}  // namespace nimbara
