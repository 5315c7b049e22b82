.pragma library

// Back-end types that a given installation may not have yet are made by name,
// so that a page without them still opens; null when the type is missing.
function create(typeName, parent, properties)
{
    try {
        var object = Qt.createQmlObject("import BrowserInternal 1.0; " + typeName + " {}", parent, typeName)
        for (var key in properties)
            object[key] = properties[key]
        return object
    } catch (e) {
        console.warn(typeName, "is not available:", e.message || e)
        return null
    }
}
