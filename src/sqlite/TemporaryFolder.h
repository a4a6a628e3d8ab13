/// \file
/// Where the database sorts what does not fit into memory.
#pragma once

namespace qm {

/// Has SQLite keep its temporary files in the user's own cache folder, which no other user can read, in place of the machine's shared one.
/// Where that folder cannot be made everything stays as it is. Call it once, before the first report and before other threads start.
void useTemporaryFolder();

} // namespace qm
