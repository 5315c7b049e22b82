#include "libchecksum.h"

#include "utils/logcategories.h"

#include <QFile>
#include <fcntl.h>
#include <gelf.h>
#include <libelf.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <memory>

namespace
{
struct ElfCloser {
    void operator()(Elf* elf) const { elf_end(elf); }
};
struct DigestCloser {
    void operator()(EVP_MD_CTX* ctx) const { EVP_MD_CTX_free(ctx); }
};
struct Fd {
    int fd;
    ~Fd()
    {
        if (fd >= 0)
            ::close(fd);
    }
};
} // namespace

QString libraryChecksum(const QString& path)
{
    if (elf_version(EV_CURRENT) == EV_NONE) {
        qCWarning(lcLibChecksum) << "libelf initialisation failed:" << elf_errmsg(-1);
        return QString();
    }
    Fd file { ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC) };
    if (file.fd < 0) {
        qCDebug(lcLibChecksum) << "no library at" << path;
        return QString();
    }
    std::unique_ptr<Elf, ElfCloser> elf(elf_begin(file.fd, ELF_C_READ_MMAP, nullptr));
    if (!elf || elf_kind(elf.get()) != ELF_K_ELF) {
        qCWarning(lcLibChecksum) << "not an ELF file:" << path;
        return QString();
    }
    size_t fileSize = 0;
    const char* bytes = elf_rawfile(elf.get(), &fileSize);
    size_t count = 0;
    if (!bytes || elf_getphdrnum(elf.get(), &count) != 0) {
        qCWarning(lcLibChecksum) << "unreadable ELF program headers:" << path << elf_errmsg(-1);
        return QString();
    }

    std::unique_ptr<EVP_MD_CTX, DigestCloser> ctx(EVP_MD_CTX_new());
    if (!ctx || EVP_DigestInit_ex(ctx.get(), EVP_sha256(), nullptr) != 1)
        return QString();
    int hashed = 0;
    for (size_t i = 0; i < count; ++i) {
        GElf_Phdr header;
        if (!gelf_getphdr(elf.get(), int(i), &header))
            continue;
        if (header.p_type != PT_LOAD || !(header.p_flags & PF_X))
            continue;
        // A truncated file must not make us read past its end.
        if (header.p_offset > fileSize || header.p_filesz > fileSize - header.p_offset) {
            qCWarning(lcLibChecksum) << "segment outside the file:" << path;
            return QString();
        }
        EVP_DigestUpdate(ctx.get(), bytes + header.p_offset, header.p_filesz);
        ++hashed;
    }
    if (hashed == 0) {
        qCWarning(lcLibChecksum) << "no executable segment in" << path;
        return QString();
    }
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(ctx.get(), digest, &length) != 1)
        return QString();
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(digest), int(length)).toHex());
}
