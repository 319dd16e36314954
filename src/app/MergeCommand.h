#pragma once

// `gleanmark merge [OPTIONS] SHARD...`: the contacts of one harvest, added up
// from the shards that harvests over parts of its sources wrote.
int MergeCommandLine(int argc, char* argv[]);
