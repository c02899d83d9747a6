// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/command/session.h"

namespace CLI {
class App;
}

namespace pelorin {
namespace command {

/// Each function describes one verb to the parser: its options, its help and what runs when it is
/// named. What it runs leaves its end in `session.outcome`. `app` is the whole command; both
/// outlive the parsing.
void AddTourVerb(CLI::App& app, Session& session);
void AddServeVerb(CLI::App& app, Session& session);
void AddImportVerb(CLI::App& app, Session& session);
void AddPanoVerb(CLI::App& app, Session& session);
void AddRouteVerb(CLI::App& app, Session& session);
void AddUtmVerb(CLI::App& app, Session& session);
void AddStratumVerb(CLI::App& app, Session& session);
void AddPlanetsVerb(CLI::App& app, Session& session);
void AddJpegDateVerb(CLI::App& app, Session& session);
void AddBuildingVerb(CLI::App& app, Session& session);
void AddElevationVerb(CLI::App& app, Session& session);
void AddMeshVerb(CLI::App& app, Session& session);
void AddInspectVerb(CLI::App& app, Session& session);
/// `help`, `man` and `completion`, which tell about the others.
void AddHelpVerbs(CLI::App& app, Session& session);

}  // namespace command
}  // namespace pelorin
