-- Appends every code, with date and time, to a table for spreadsheets.

local path = os.getenv("HOME") .. "/codes.csv"

-- One field of the table, for any text: with line ends and commas, too.
local function field(text)
    text = text:gsub("\0", "")
    -- A code such as =HYPERLINK(...) must stay a text when the table is opened. Spreadsheets
    -- read a text with such a beginning as a formula unless an apostrophe precedes it.
    if text:find("^%s*[=+@-]") or text:find("^[\t\r\n]") then
        text = "'" .. text
    end
    return '"' .. text:gsub('"', '""') .. '"'
end

function scanned_code(text)
    local file = assert(io.open(path, "a"))
    -- In one write, so that the lines of two codes at the same time do not mix.
    file:setvbuf("no")
    assert(file:write(os.date("%Y-%m-%d %H:%M:%S") .. "," .. field(text) .. "\r\n"))
    assert(file:close())
end
