.pragma library

// What the address field turns typed text into: a URL when it looks like one,
// else a search with the engine in use ("%s" stands for the query).
function fromInput(text, searchUrl)
{
    var t = text.trim()
    if (t === "")
        return ""
    if (t.indexOf(" ") >= 0)
        return searchUrl.replace("%s", encodeURIComponent(t))
    // "host:8080/..." names a port, not a scheme.
    if (/^[^\/:]+:\d+(\/|$)/.test(t))
        return "http://" + t
    if (/^[a-zA-Z][a-zA-Z0-9+.-]*:/.test(t))
        return t
    if (/^[^\/]+\.[^\/]+/.test(t) || /^localhost(\/|$)/.test(t))
        return "http://" + t
    return searchUrl.replace("%s", encodeURIComponent(t))
}

// Pages of the browser itself are neither recorded nor bookmarked.
function isInternal(url)
{
    return url === "" || url.indexOf("about:") === 0 || url.indexOf("chrome:") === 0
}
