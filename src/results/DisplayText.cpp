#include "DisplayText.h"

#include <QStringDecoder>

QString DisplayText(const std::string& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    if (decoder.hasError()) {
        return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    }
    return text;
}

std::string StoredText(const QString& text) {
    return text.toUtf8().toStdString();
}
