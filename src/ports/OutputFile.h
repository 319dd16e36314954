#pragma once
// A result file written whole or not at all. A regular file (or a new one) is
// written under a temporary name and renamed over the target on commit; a
// target that already exists and is not a regular file (/dev/null, a named
// pipe, a terminal) is written in place, since renaming over it would put a
// plain file where the device was.
#include <QFile>
#include <QSaveFile>
#include <QString>
#include <memory>
#include <string>

class OutputFile {
public:
    explicit OutputFile(const std::string& path);

    bool open();
    qint64 write(const char* data, qint64 size);
    bool commit();
    void cancel();
    QString errorString() const;

    // Whether path names an existing file that is not a regular file.
    static bool isSpecial(const std::string& path);

private:
    QString path_;
    std::unique_ptr<QSaveFile> save_;
    std::unique_ptr<QFile> direct_;
};
