#include "OutputFile.h"

#include <sys/stat.h>

OutputFile::OutputFile(const std::string& path) : path_(QString::fromStdString(path)) {
    if (isSpecial(path)) {
        direct_ = std::make_unique<QFile>(path_);
    } else {
        save_ = std::make_unique<QSaveFile>(path_);
    }
}

bool OutputFile::isSpecial(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode);
}

bool OutputFile::open() {
    if (direct_) {
        return direct_->open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }
    return save_->open(QIODevice::WriteOnly);
}

qint64 OutputFile::write(const char* data, qint64 size) {
    return direct_ ? direct_->write(data, size) : save_->write(data, size);
}

bool OutputFile::commit() {
    if (direct_) {
        bool ok = direct_->error() == QFileDevice::NoError;
        direct_->close();
        return ok && direct_->error() == QFileDevice::NoError;
    }
    return save_->commit();
}

void OutputFile::cancel() {
    if (direct_) {
        direct_->close();
    } else {
        save_->cancelWriting();
    }
}

QString OutputFile::errorString() const {
    return direct_ ? direct_->errorString() : save_->errorString();
}
