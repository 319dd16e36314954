#pragma once
// The writers behind writeReport, one per kind of output.
#include <string>

#include "HarvestTypes.h"
#include "Writers.h"

namespace harvest {

// TSV, CSV, JSON Lines and vCard: to path through QSaveFile, or to standard
// output when path is empty.
bool writeTextReport(Format format, const Report& report, bool sightingRows,
                     const std::string& path, std::string& error);
// Every table in one SQLite file: contacts, sightings, sources, problems.
bool writeSqliteReport(const Report& report, const std::string& path, std::string& error);
// One sheet of rows (and one of problems when there are any).
bool writeXlsxReport(const Report& report, bool sightingRows, const std::string& path,
                     std::string& error);

// One vCard 3.0 card for the contact, CRLF line ends, folded.
void appendVCard(std::string& out, const Contact& contact);

}  // namespace harvest
