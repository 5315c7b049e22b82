#include "downloadnaming.h"

#include <QDir>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QTextCodec>

namespace
{
// File systems allow 255 bytes a name; room is kept for " (999)" and ".part".
constexpr int maxNameBytes = 240;

QString decodeExtValue(const QByteArray& value)
{
    // charset'language'percent-encoded
    const int first = value.indexOf('\'');
    const int second = first < 0 ? -1 : value.indexOf('\'', first + 1);
    if (second < 0)
        return QString();
    const QByteArray charset = value.left(first).trimmed().toLower();
    const QByteArray bytes = QByteArray::fromPercentEncoding(value.mid(second + 1));
    if (charset == "utf-8")
        return QString::fromUtf8(bytes);
    if (charset == "iso-8859-1")
        return QString::fromLatin1(bytes);
    return QString();
}

QString decodePlain(const QByteArray& bytes)
{
    // Servers often send raw UTF-8 where the standard wants Latin-1.
    QTextCodec::ConverterState state;
    const QString utf8
        = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars ? QString::fromLatin1(bytes) : utf8;
}

QByteArray unquote(const QByteArray& value)
{
    if (value.size() < 2 || !value.startsWith('"'))
        return value;
    QByteArray out;
    for (int i = 1; i < value.size() - 1; ++i) {
        if (value.at(i) == '\\' && i + 1 < value.size() - 1)
            ++i;
        out += value.at(i);
    }
    return out;
}

// Splits "a; b=\"x;y\"; c" at the semicolons outside quotes.
QList<QByteArray> splitParameters(const QByteArray& header)
{
    QList<QByteArray> parts;
    QByteArray current;
    bool quoted = false;
    for (int i = 0; i < header.size(); ++i) {
        const char c = header.at(i);
        if (quoted && c == '\\' && i + 1 < header.size()) {
            current += c;
            current += header.at(++i);
            continue;
        }
        if (c == '"')
            quoted = !quoted;
        if (c == ';' && !quoted) {
            parts << current.trimmed();
            current.clear();
        } else {
            current += c;
        }
    }
    parts << current.trimmed();
    return parts;
}

QString knownSuffix(const QString& name)
{
    static const QMimeDatabase db;
    QString suffix = db.suffixForFileName(name);
    if (suffix.isEmpty()) {
        const int dot = name.lastIndexOf(QLatin1Char('.'));
        if (dot > 0 && name.size() - dot <= 16)
            suffix = name.mid(dot + 1);
    }
    return suffix;
}

// Cuts a string to at most maxBytes of UTF-8 without splitting a character.
QString cutUtf8(const QString& text, int maxBytes)
{
    QString out;
    int bytes = 0;
    for (int i = 0; i < text.size(); ++i) {
        const int width = text.at(i).isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        const int size = text.mid(i, width).toUtf8().size();
        if (bytes + size > maxBytes)
            break;
        bytes += size;
        out += text.mid(i, width);
        i += width - 1;
    }
    return out;
}
} // namespace

namespace DownloadNaming
{
QString fromContentDisposition(const QByteArray& header)
{
    QString plain;
    QString extended;
    const QList<QByteArray> parts = splitParameters(header);
    for (const QByteArray& part : parts) {
        const int eq = part.indexOf('=');
        if (eq < 0)
            continue;
        const QByteArray key = part.left(eq).trimmed().toLower();
        const QByteArray value = part.mid(eq + 1).trimmed();
        if (key == "filename*")
            extended = decodeExtValue(unquote(value));
        else if (key == "filename")
            plain = decodePlain(unquote(value));
    }
    return extended.isEmpty() ? plain : extended;
}

QString sanitize(const QString& name)
{
    QString out;
    out.reserve(name.size());
    // Path separators, control characters and the characters other systems
    // reserve become "_", so a name never leaves the directory or breaks a copy
    // to a memory card.
    static const QString reserved = QStringLiteral("/\\:*?\"<>|");
    for (const QChar c : name) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f || (c.unicode() >= 0x80 && c.unicode() < 0xa0)
            || reserved.contains(c) || c.category() == QChar::Other_Format)
            out += QLatin1Char('_');
        else
            out += c;
    }
    // Leading dots would hide the file, trailing ones vanish on some systems;
    // this also turns "." and ".." into nothing.
    static const QRegularExpression edges(QStringLiteral("^[\\s.]+|[\\s.]+$"));
    out.remove(edges);
    static const QRegularExpression device(QStringLiteral("^(con|prn|aux|nul|com[1-9]|lpt[1-9])(\\..*)?$"),
        QRegularExpression::CaseInsensitiveOption);
    if (device.match(out).hasMatch())
        out.prepend(QLatin1Char('_'));
    if (out.toUtf8().size() > maxNameBytes) {
        const QString suffix = knownSuffix(out);
        if (!suffix.isEmpty() && suffix.toUtf8().size() < 32) {
            const QString base = out.left(out.size() - suffix.size() - 1);
            out = cutUtf8(base, maxNameBytes - suffix.toUtf8().size() - 1).trimmed() + QLatin1Char('.')
                + suffix;
        } else {
            out = cutUtf8(out, maxNameBytes);
        }
    }
    return out;
}

QString suggestedName(const QByteArray& contentDisposition, const QUrl& url, const QString& contentType)
{
    QString name = sanitize(fromContentDisposition(contentDisposition));
    if (name.isEmpty())
        // The last segment of the encoded path, so that an encoded "/" stays
        // part of the name instead of splitting it.
        name = sanitize(
            QUrl::fromPercentEncoding(url.path(QUrl::FullyEncoded).section(QLatin1Char('/'), -1).toUtf8()));
    if (name.isEmpty())
        name = QStringLiteral("download");
    if (!name.contains(QLatin1Char('.')) && !contentType.isEmpty()) {
        static const QMimeDatabase db;
        const QMimeType type = db.mimeTypeForName(contentType.section(QLatin1Char(';'), 0, 0).trimmed());
        if (type.isValid() && !type.preferredSuffix().isEmpty())
            name += QLatin1Char('.') + type.preferredSuffix();
    }
    return name;
}

QString uniquePath(const QString& dir, const QString& name, const QSet<QString>& taken)
{
    const QDir directory(dir);
    const auto isFree = [&](const QString& path) {
        return !taken.contains(path) && !QFileInfo::exists(path) && !QFileInfo::exists(partialPath(path));
    };
    QString path = directory.absoluteFilePath(name);
    if (isFree(path))
        return path;
    const QString suffix = knownSuffix(name);
    const QString base = suffix.isEmpty() ? name : name.left(name.size() - suffix.size() - 1);
    const QString tail = suffix.isEmpty() ? QString() : QLatin1Char('.') + suffix;
    for (int n = 1;; ++n) {
        path = directory.absoluteFilePath(QStringLiteral("%1 (%2)%3").arg(base).arg(n).arg(tail));
        if (isFree(path))
            return path;
    }
}

QString partialPath(const QString& path)
{
    return path + QStringLiteral(".part");
}
} // namespace DownloadNaming
