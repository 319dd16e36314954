#include "StagedFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "OutputFile.h"

namespace harvest {

StagedFile::StagedFile(std::string target) : target_(std::move(target)) {}

bool StagedFile::create(std::string& error) {
    if (!canBeFile(target_, error)) {
        return false;
    }
    const QFileInfo target(QString::fromStdString(target_));
    const QDir folder = target.absoluteDir();
    // Hidden, and named after the target, so a left-over is easy to place.
    file_.setFileTemplate(folder.filePath("." + target.fileName() + ".XXXXXX"));
    if (!file_.open()) {
        error = cannotWrite(target_, file_.errorString().toStdString());
        return false;
    }
    file_.close();  // the writer opens the file by name; the name stays reserved
    return true;
}

std::string StagedFile::stagingPath() const {
    return file_.fileName().toStdString();
}

bool StagedFile::commit(std::string& error) {
    if (OutputFile::isSpecial(target_)) {
        // A device or a pipe gets the bytes; renaming would replace it.
        QFile staged(file_.fileName());
        OutputFile out(target_);
        if (!staged.open(QIODevice::ReadOnly) || !out.open()) {
            error = cannotWrite(target_, out.errorString().toStdString());
            return false;
        }
        for (QByteArray piece = staged.read(1 << 20); !piece.isEmpty();
             piece = staged.read(1 << 20)) {
            if (out.write(piece.constData(), piece.size()) != piece.size()) {
                break;
            }
        }
        if (!out.commit()) {
            error = cannotWrite(target_, out.errorString().toStdString());
            return false;
        }
        return true;
    }
    std::error_code ec;
    std::filesystem::rename(std::filesystem::path(stagingPath()), std::filesystem::path(target_),
                            ec);
    if (ec) {
        error = cannotWrite(target_, ec.message());
        return false;  // the temporary file goes with file_
    }
    file_.setAutoRemove(false);  // its name is now the target's
    return true;
}

std::string cannotWrite(const std::string& path, const std::string& reason) {
    return "cannot write " + path + ": " + reason;
}

bool canBeFile(const std::string& target, std::string& error) {
    const QFileInfo info(QString::fromStdString(target));
    if (!info.absoluteDir().exists()) {
        error = cannotWrite(target, std::generic_category().message(ENOENT));
        return false;
    }
    if (info.isDir()) {
        error = cannotWrite(target, std::generic_category().message(EISDIR));
        return false;
    }
    return true;
}

}  // namespace harvest
