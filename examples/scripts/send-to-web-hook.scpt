-- Sends every code to a web hook, as {"text": "..."}.
-- Needs curl. Write the address of your hook here, or set VELLUMCAP_HOOK.

local hook = os.getenv("VELLUMCAP_HOOK") or "http://localhost:8080/codes"

-- Makes one word for the shell from any text. A word cannot contain a zero byte.
local function quoted(text)
    text = text:gsub("\0", "")
    return "'" .. text:gsub("'", "'\\''") .. "'"
end

-- A JSON string.
local function json(text)
    text = text:gsub('[%c"\\]', function(character)
        return ("\\u%04x"):format(character:byte())
    end)
    return '"' .. text .. '"'
end

function scanned_code(text)
    -- Passes the text through a pipe, because every user can see the arguments of a command.
    local command = "curl --silent --show-error --fail --max-time 20 --output /dev/null"
        .. " --header 'Content-Type: application/json' --data-binary @- --url " .. quoted(hook)
    local curl = assert(io.popen(command, "w"))
    curl:write('{"text": ', json(text), "}")
    local done, how, status = curl:close()
    if not done then
        error(("curl: %s %d"):format(how, status))
    end
end
