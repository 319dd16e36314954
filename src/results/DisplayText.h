#pragma once

#include <QString>
#include <string>

// Text bytes as shown on screen: UTF-8 where the bytes are valid UTF-8,
// Latin-1 otherwise.
QString DisplayText(const std::string& bytes);

// Screen text back to bytes (UTF-8).
std::string StoredText(const QString& text);
