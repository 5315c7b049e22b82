#include "credentialstore.h"

#include <QDataStream>
#include <QFile>
#include <QSaveFile>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <memory>

namespace
{

const QByteArray magic = QByteArrayLiteral("WDPWSTR1");
constexpr int nonceSize = 12;
constexpr int tagSize = 16;
constexpr quint32 recordVersion = 1;

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

QByteArray headerBytes(CredentialStore::KeySource source)
{
    return magic + char(source);
}

QByteArray serialize(const Credential& c)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_5_15);
    out << recordVersion << c.id << c.url << c.name << c.username << c.password << c.note << c.created
        << c.modified;
    return bytes;
}

bool deserialize(const QByteArray& bytes, Credential* c)
{
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_5_15);
    quint32 version = 0;
    in >> version;
    if (version != recordVersion)
        return false;
    in >> c->id >> c->url >> c->name >> c->username >> c->password >> c->note >> c->created >> c->modified;
    return in.status() == QDataStream::Ok;
}

} // namespace

QByteArray CredentialStore::seal(const QByteArray& key, const QByteArray& plain, const QByteArray& associated)
{
    if (key.size() != keySize)
        return {};
    QByteArray sealed(nonceSize + plain.size() + tagSize, Qt::Uninitialized);
    auto* out = reinterpret_cast<unsigned char*>(sealed.data());
    if (RAND_bytes(out, nonceSize) != 1)
        return {};
    CipherContext ctx(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int length = 0;
    if (!ctx
        || EVP_EncryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr,
               reinterpret_cast<const unsigned char*>(key.constData()), out)
            != 1
        || EVP_EncryptUpdate(ctx.get(), nullptr, &length,
               reinterpret_cast<const unsigned char*>(associated.constData()), associated.size())
            != 1
        || EVP_EncryptUpdate(ctx.get(), out + nonceSize, &length,
               reinterpret_cast<const unsigned char*>(plain.constData()), plain.size())
            != 1
        || EVP_EncryptFinal_ex(ctx.get(), out + nonceSize + length, &length) != 1
        || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, tagSize, out + nonceSize + plain.size()) != 1)
        return {};
    return sealed;
}

bool CredentialStore::open(
    const QByteArray& key, const QByteArray& sealed, const QByteArray& associated, QByteArray* plain)
{
    if (key.size() != keySize || sealed.size() < nonceSize + tagSize)
        return false;
    const auto* in = reinterpret_cast<const unsigned char*>(sealed.constData());
    const int textSize = sealed.size() - nonceSize - tagSize;
    QByteArray text(textSize, Qt::Uninitialized);
    auto* out = reinterpret_cast<unsigned char*>(text.data());
    QByteArray tag = sealed.right(tagSize);
    CipherContext ctx(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int length = 0;
    if (!ctx
        || EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr,
               reinterpret_cast<const unsigned char*>(key.constData()), in)
            != 1
        || EVP_DecryptUpdate(ctx.get(), nullptr, &length,
               reinterpret_cast<const unsigned char*>(associated.constData()), associated.size())
            != 1
        || EVP_DecryptUpdate(ctx.get(), out, &length, in + nonceSize, textSize) != 1
        || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, tagSize, tag.data()) != 1
        || EVP_DecryptFinal_ex(ctx.get(), out + length, &length) != 1)
        return false;
    *plain = text;
    return true;
}

CredentialStore::Status CredentialStore::readKeySource(const QString& path, KeySource* source)
{
    QFile file(path);
    if (!file.exists())
        return Status::Missing;
    if (!file.open(QIODevice::ReadOnly))
        return Status::Unreadable;
    const QByteArray head = file.read(magic.size() + 1);
    if (head.size() < magic.size() + 1 || !head.startsWith(magic))
        return Status::NotAStore;
    const auto value = KeySource(quint8(head.at(magic.size())));
    if (value != KeySource::Keyring && value != KeySource::KeyFile)
        return Status::NotAStore;
    *source = value;
    return Status::Ok;
}

CredentialStore::Status CredentialStore::read(
    const QString& path, const QByteArray& key, QVector<Credential>* credentials)
{
    KeySource source = KeySource::None;
    const Status status = readKeySource(path, &source);
    if (status != Status::Ok)
        return status;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::Unreadable;
    file.seek(magic.size() + 1);
    QDataStream in(&file);
    in.setVersion(QDataStream::Qt_5_15);
    quint32 count = 0;
    in >> count;
    const QByteArray associated = headerBytes(source);
    QVector<Credential> result;
    result.reserve(int(qMin<quint32>(count, 1u << 20)));
    for (quint32 i = 0; i < count; ++i) {
        QByteArray sealed;
        in >> sealed;
        if (in.status() != QDataStream::Ok)
            return Status::Unreadable;
        QByteArray plain;
        Credential credential;
        if (!open(key, sealed, associated, &plain) || !deserialize(plain, &credential))
            return Status::Rejected;
        result.append(credential);
    }
    if (!in.atEnd())
        return Status::Unreadable;
    *credentials = result;
    return Status::Ok;
}

bool CredentialStore::write(
    const QString& path, const QByteArray& key, KeySource source, const QVector<Credential>& credentials)
{
    const QByteArray associated = headerBytes(source);
    QByteArray bytes = associated;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly | QIODevice::Append);
        out.setVersion(QDataStream::Qt_5_15);
        out << quint32(credentials.size());
        for (const Credential& credential : credentials) {
            const QByteArray sealed = seal(key, serialize(credential), associated);
            if (sealed.isEmpty())
                return false;
            out << sealed;
        }
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    if (file.write(bytes) != bytes.size())
        return false;
    return file.commit();
}
