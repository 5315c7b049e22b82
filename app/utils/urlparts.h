#pragma once

#include <QString>

// Pure URL helpers, safe to call from any thread at once: the storage worker
// uses them as much as the GUI does, and they keep no state of their own.
namespace UrlParts
{
// Scheme and authority of a URL, without a trailing slash: "https://a.example.com:8080".
QString baseUrl(const QString& url);
// The registrable domain of a URL's host ("news.bbc.co.uk" -> "bbc.co.uk"); IP
// literals, single-label hosts and bare public suffixes are returned as they are.
QString domain(const QString& url);
// Host of a URL, in Unicode for internationalised names.
QString host(const QString& url);
} // namespace UrlParts
