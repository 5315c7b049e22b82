// Saved-password autofill for the web view. Runs as a user script in the
// application's isolated world after qwebchannel.js; the page's own scripts
// see neither this code nor the channel. The "webdeckPasswords" object on the
// channel belongs to the view and answers for the view's own url, so a page
// cannot ask for the logins of another site. Wiring: see PasswordManager.
(function() {
"use strict";
if (window.__webdeckPasswords || typeof QWebChannel === "undefined" || !window.qt)
    return;
window.__webdeckPasswords = true;

function passwordField(form)
{
    var fields = form.querySelectorAll("input[type=password]");
    for (var i = 0; i < fields.length; ++i) {
        if (!fields[i].disabled)
            return fields[i];
    }
    return null;
}

// The text field before the password field is the user name, as on nearly every login form.
function usernameField(form, password)
{
    var inputs = form.querySelectorAll("input");
    var candidate = null;
    for (var i = 0; i < inputs.length && inputs[i] !== password; ++i) {
        var type = (inputs[i].type || "text").toLowerCase();
        if (!inputs[i].disabled && (type === "text" || type === "email" || type === "tel"))
            candidate = inputs[i];
    }
    return candidate;
}

function setValue(field, value)
{
    field.value = value;
    // Pages built on frameworks only see values that arrive with events.
    field.dispatchEvent(new Event("input", { bubbles : true }));
    field.dispatchEvent(new Event("change", { bubbles : true }));
}

function loginForms()
{
    var forms = [];
    var all = document.forms;
    for (var i = 0; i < all.length; ++i) {
        if (passwordField(all[i]))
            forms.push(all[i]);
    }
    return forms;
}

new QWebChannel(qt.webChannelTransport, function(channel) {
    var bridge = channel.objects.webdeckPasswords;
    if (!bridge)
        return;
    var forms = loginForms();

    forms.forEach(function(form) {
        form.addEventListener("submit", function() {
            var password = passwordField(form);
            if (!password || !password.value)
                return;
            var user = usernameField(form, password);
            bridge.submitted(user ? user.value : "", password.value);
        }, true);
    });

    if (forms.length === 0)
        return;
    bridge.logins(function(logins) {
        if (!logins || logins.length === 0)
            return;
        forms.forEach(function(form) {
            var password = passwordField(form);
            var user = usernameField(form, password);
            if (password.value)
                return;
            if (logins.length === 1 && (!user || !user.value || user.value === logins[0].username)) {
                if (user && !user.value)
                    setValue(user, logins[0].username);
                setValue(password, logins[0].password);
            }
            // Several logins: the one whose user name is typed is filled when the field is left.
            if (user) {
                user.addEventListener("change", function() {
                    for (var i = 0; i < logins.length; ++i) {
                        if (logins[i].username === user.value && !password.value)
                            setValue(password, logins[i].password);
                    }
                });
            }
        });
    });
});
})();
