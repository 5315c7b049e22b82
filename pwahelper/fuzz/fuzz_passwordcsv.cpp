// Feeds arbitrary bytes to the password CSV reader. Besides crashes and
// sanitizer reports it stops when a login comes out without url or password,
// with an impossible line number, or does not survive being written and read
// again unchanged.

#include "passwords/passwordcsv.h"

#include <cstdlib>

namespace
{
// Without a translator the messages are their ids, and .arg() on an id warns.
void discardMessage(QtMsgType, const QMessageLogContext&, const QString&) { }

void require(bool condition)
{
    if (!condition)
        abort();
}

bool sameLogins(const QVector<CsvLogin>& a, const QVector<CsvLogin>& b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i) {
        if (a[i].name != b[i].name || a[i].url != b[i].url || a[i].username != b[i].username
            || a[i].password != b[i].password || a[i].note != b[i].note)
            return false;
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const auto previous = qInstallMessageHandler(discardMessage);
    Q_UNUSED(previous)
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    const CsvReadResult result = PasswordCsv::read(bytes);
    require(result.ok == result.error.isEmpty());
    if (!result.ok) {
        require(result.logins.isEmpty());
        return 0;
    }
    int lastLine = 1;
    for (const CsvLogin& login : result.logins) {
        require(!login.url.isEmpty() && !login.password.isEmpty());
        require(login.line > lastLine);
        lastLine = login.line;
    }
    for (const CsvRejectedRow& row : result.rejected)
        require(row.line > 1 && !row.message.isEmpty());

    const CsvReadResult again = PasswordCsv::read(PasswordCsv::write(result.logins));
    require(again.ok && again.rejected.isEmpty());
    require(sameLogins(again.logins, result.logins));
    return 0;
}
