-- Appends every code, with the moment, to a table that spreadsheets open.

local path = os.getenv("HOME") .. "/codes.csv"

-- One field, whatever is in it: line ends and commas included.
local function field(text)
    text = text:gsub("\0", "")
    -- A code that reads =HYPERLINK(...) must stay a text when the table is opened. Spreadsheets
    -- take what begins like this for a formula; the apostrophe tells them not to.
    if text:find("^%s*[=+@-]") or text:find("^[\t\r\n]") then
        text = "'" .. text
    end
    return '"' .. text:gsub('"', '""') .. '"'
end

function scanned_code(text)
    local file = assert(io.open(path, "a"))
    -- In one go, so that two codes at once do not mix.
    file:setvbuf("no")
    assert(file:write(os.date("%Y-%m-%d %H:%M:%S") .. "," .. field(text) .. "\r\n"))
    assert(file:close())
end
