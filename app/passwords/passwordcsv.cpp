#include "passwordcsv.h"

#include <QHash>
#include <QStringList>
#include <QTextCodec>
#include <QUrl>

namespace
{

enum Column { NameColumn, UrlColumn, UsernameColumn, PasswordColumn, NoteColumn, ColumnCount };

// Header names as the major browsers and password managers write them, lower-cased.
const QHash<QString, Column>& columnAliases()
{
    static const QHash<QString, Column> aliases = {
        { QStringLiteral("name"), NameColumn },
        { QStringLiteral("title"), NameColumn },
        { QStringLiteral("url"), UrlColumn },
        { QStringLiteral("origin"), UrlColumn },
        { QStringLiteral("login_uri"), UrlColumn },
        { QStringLiteral("username"), UsernameColumn },
        { QStringLiteral("login_username"), UsernameColumn },
        { QStringLiteral("password"), PasswordColumn },
        { QStringLiteral("login_password"), PasswordColumn },
        { QStringLiteral("note"), NoteColumn },
        { QStringLiteral("notes"), NoteColumn },
        { QStringLiteral("extra"), NoteColumn },
    };
    return aliases;
}

struct Record {
    int line = 0;
    QStringList fields;
};

// Splits the text into records. A quoted field may hold commas, doubled quotes
// and line breaks; CRLF, LF and a lone CR all end a record outside quotes.
// Returns false when a quoted field is still open at the end of the text.
bool splitRecords(const QString& text, QVector<Record>* records, int* openLine)
{
    Record record;
    QString field;
    bool quoted = false;
    bool fieldStarted = false;
    int line = 1;
    record.line = 1;
    const int size = text.size();
    for (int i = 0; i < size; ++i) {
        const QChar c = text.at(i);
        if (quoted) {
            if (c == QLatin1Char('"')) {
                if (i + 1 < size && text.at(i + 1) == QLatin1Char('"')) {
                    field += c;
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                if (c == QLatin1Char('\n')
                    || (c == QLatin1Char('\r') && (i + 1 >= size || text.at(i + 1) != QLatin1Char('\n'))))
                    ++line;
                field += c;
            }
            continue;
        }
        if (c == QLatin1Char('"') && !fieldStarted) {
            quoted = true;
            fieldStarted = true;
            *openLine = line;
        } else if (c == QLatin1Char(',')) {
            record.fields.append(field);
            field.clear();
            fieldStarted = false;
        } else if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            if (c == QLatin1Char('\r') && i + 1 < size && text.at(i + 1) == QLatin1Char('\n'))
                ++i;
            record.fields.append(field);
            records->append(record);
            record = Record();
            field.clear();
            fieldStarted = false;
            record.line = ++line;
        } else {
            // Text after a closing quote is kept rather than refused, as spreadsheets do.
            field += c;
            fieldStarted = true;
        }
    }
    if (quoted)
        return false;
    if (fieldStarted || !record.fields.isEmpty()) {
        record.fields.append(field);
        records->append(record);
    }
    return true;
}

bool isBlank(const Record& record)
{
    for (const QString& field : record.fields) {
        if (!field.trimmed().isEmpty())
            return false;
    }
    return true;
}

QString quoted(const QString& field)
{
    static const QString special = QStringLiteral(",\"\r\n");
    bool needsQuotes = field.startsWith(QLatin1Char(' ')) || field.endsWith(QLatin1Char(' '));
    for (int i = 0; !needsQuotes && i < field.size(); ++i)
        needsQuotes = special.contains(field.at(i));
    if (!needsQuotes)
        return field;
    QString escaped = field;
    escaped.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

} // namespace

CsvReadResult PasswordCsv::read(const QByteArray& data)
{
    CsvReadResult result;
    if (data.size() > maxFileSize) {
        result.error = qtTrId("browser-la-passwords-csv-too-large");
        return result;
    }
    QTextCodec::ConverterState state;
    QTextCodec* codec = QTextCodec::codecForName("UTF-8");
    QString text = codec->toUnicode(data.constData(), data.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0) {
        result.error = qtTrId("browser-la-passwords-csv-not-utf8");
        return result;
    }
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);

    QVector<Record> records;
    int openLine = 0;
    if (!splitRecords(text, &records, &openLine)) {
        result.error = qtTrId("browser-la-passwords-csv-open-quote").arg(openLine);
        return result;
    }
    if (records.isEmpty() || isBlank(records.first())) {
        result.error = qtTrId("browser-la-passwords-csv-no-header");
        return result;
    }

    int index[ColumnCount] = { -1, -1, -1, -1, -1 };
    const QStringList& header = records.first().fields;
    for (int i = 0; i < header.size(); ++i) {
        const auto alias = columnAliases().constFind(header.at(i).trimmed().toLower());
        if (alias != columnAliases().constEnd() && index[*alias] < 0)
            index[*alias] = i;
    }
    if (index[UrlColumn] < 0 || index[PasswordColumn] < 0) {
        result.error = qtTrId("browser-la-passwords-csv-no-columns");
        return result;
    }

    for (int r = 1; r < records.size(); ++r) {
        const Record& record = records.at(r);
        if (isBlank(record))
            continue;
        auto column = [&record, &index](Column c) {
            return index[c] >= 0 && index[c] < record.fields.size() ? record.fields.at(index[c]) : QString();
        };
        CsvLogin login;
        login.line = record.line;
        login.name = column(NameColumn);
        login.url = column(UrlColumn).trimmed();
        login.username = column(UsernameColumn);
        login.password = column(PasswordColumn);
        login.note = column(NoteColumn);
        if (login.url.isEmpty()) {
            result.rejected.append(
                { record.line, qtTrId("browser-la-passwords-csv-row-no-url").arg(record.line) });
        } else if (login.password.isEmpty()) {
            result.rejected.append(
                { record.line, qtTrId("browser-la-passwords-csv-row-no-password").arg(record.line) });
        } else if (QUrl(login.url, QUrl::StrictMode).host().isEmpty()) {
            result.rejected.append(
                { record.line, qtTrId("browser-la-passwords-csv-row-bad-url").arg(record.line) });
        } else {
            result.logins.append(login);
        }
    }
    result.ok = true;
    return result;
}

QByteArray PasswordCsv::write(const QVector<CsvLogin>& logins)
{
    QString text = QStringLiteral("name,url,username,password,note\r\n");
    for (const CsvLogin& login : logins) {
        text += quoted(login.name) + QLatin1Char(',') + quoted(login.url) + QLatin1Char(',')
            + quoted(login.username) + QLatin1Char(',') + quoted(login.password) + QLatin1Char(',')
            + quoted(login.note) + QLatin1String("\r\n");
    }
    return text.toUtf8();
}
