-- Appends time and text of every code to a CSV file for spreadsheets.

local path = os.getenv("HOME") .. "/codes.csv"

-- One CSV field from any text, which may contain line ends and commas.
local function field(text)
    text = text:gsub("\0", "")
    -- A code such as =HYPERLINK(...) must stay a text. Spreadsheets treat a field that begins
    -- like this as a formula; the apostrophe prevents it.
    if text:find("^%s*[=+@-]") or text:find("^[\t\r\n]") then
        text = "'" .. text
    end
    return '"' .. text:gsub('"', '""') .. '"'
end

function scanned_code(text)
    local file = assert(io.open(path, "a"))
    -- A single write, so that two runs at once do not mix their lines.
    file:setvbuf("no")
    assert(file:write(os.date("%Y-%m-%d %H:%M:%S") .. "," .. field(text) .. "\r\n"))
    assert(file:close())
end
