-- Shows every code in a desktop notification.
-- Needs gdbus, which is in Debian's package libglib2.0-bin.

-- Makes one word for the shell from any text. A word cannot contain a zero byte.
local function quoted(text)
    text = text:gsub("\0", "")
    return "'" .. text:gsub("'", "'\\''") .. "'"
end

-- A text in the syntax of gdbus. Control characters other than line ends become spaces.
local function variant(text)
    text = text:gsub('[%c"\\]', function(character)
        if character == "\n" then
            return "\\n"
        end
        return character:find("%c") and " " or "\\" .. character
    end)
    return '"' .. text .. '"'
end

-- Notifications can contain markup; escape it, so that a code cannot add any.
local function plain(text)
    return (text:gsub("[&<>]", { ["&"] = "&amp;", ["<"] = "&lt;", [">"] = "&gt;" }))
end

function scanned_code(text)
    local arguments = {
        variant "Vellumcap", "uint32 0", variant "org.vellumcap.Vellumcap",
        variant "New code", variant(plain(text)), "@as []", "@a{sv} {}", "int32 -1",
    }
    local command = "gdbus call --session --dest org.freedesktop.Notifications"
        .. " --object-path /org/freedesktop/Notifications"
        .. " --method org.freedesktop.Notifications.Notify --"
    for _, argument in ipairs(arguments) do
        command = command .. " " .. quoted(argument)
    end
    local done, how, status = os.execute(command .. " >/dev/null")
    if not done then
        error(("gdbus: %s %d"):format(how, status))
    end
end
