#pragma once

// `gleanmark harvest [OPTIONS] PATH...`: clean, validated contacts from
// documents, mail archives and containers, with where each was found.
int HarvestCommandLine(int argc, char* argv[]);
