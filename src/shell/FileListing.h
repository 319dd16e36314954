#pragma once

#include <string>
#include <vector>

// The mounted volumes' root folders, in name order: the drive list.
std::vector<std::string> DriveList();
// The root folder of the volume that holds `path`.
std::string DriveOf(const std::string& path);

// True when `name` matches the wildcard `pattern` ("*" and "?"), ignoring
// ASCII case. "*.*" matches every name, with or without a dot, and a pattern
// ending in "*." also matches names without a dot.
bool MatchesPattern(const std::string& name, const std::string& pattern);

// The names of the files in `folder` that match `pattern`, in name order by
// bytes. Hidden files (names starting with ".") are not listed.
std::vector<std::string> ListFiles(const std::string& folder, const std::string& pattern);

// The sub-folders of `folder` in name order by bytes, as full paths. Links to
// folders and hidden folders are left out.
std::vector<std::string> ListSubFolders(const std::string& folder);

// `folder` and `name` joined with the separator, as the folder list reports
// the folder: a root folder that already ends in a separator gives a doubled
// one.
std::string JoinPath(const std::string& folder, const std::string& name);
