#include "platform/script/Prelude.h"

namespace platform {

const char* const prelude = R"lua(
local output, input, execute, may_open = ...
-- Local copies, since a script may change the global variables.
local assert, collectgarbage, error, package, tostring
    = assert, collectgarbage, error, package, tostring
local concat, pack = table.concat, table.pack

-- Standard input belongs to the program, and so does standard output.
io.stdout, io.stderr, io.stdin = output, output, input
io.output(output)
io.input(input)

function print(...)
    local words = pack(...)
    for index = 1, words.n do
        words[index] = tostring(words[index])
    end
    output:write(concat(words, "\t"), "\n")
end

-- The C library's system() ignores SIGINT in the whole process while the command runs.
os.execute = execute

function os.exit()
    error("os.exit: a script ends by returning, and never the program", 2)
end

-- The locale is that of the whole process.
function os.setlocale(locale)
    return (locale == nil or locale == "C") and "C" or nil
end

-- The count hook interrupts scripts. debug.debug reads standard input.
function debug.sethook()
    error("debug.sethook: the hook is taken", 2)
end
debug.debug = nil

-- The program needs file descriptors, too: scripts may use half of them.
for _, name in ipairs { "input", "lines", "open", "output", "popen", "tmpfile" } do
    local original = io[name]
    io[name] = function(...)
        if not may_open() then
            collectgarbage()
            if not may_open() then
                error("io." .. name .. ": too many open files", 2)
            end
        end
        return original(...)
    end
end

-- Text only: the interpreter does not verify precompiled chunks and may crash on them.
local load, loadfile, searchpath = load, loadfile, package.searchpath

function _G.load(chunk, name, _, ...)
    return load(chunk, name, "t", ...)
end

function _G.loadfile(path, _, ...)
    return loadfile(path, "t", ...)
end

function _G.dofile(path)
    return assert(loadfile(path, "t"))()
end

package.searchers[2] = function(name)
    local path, reason = searchpath(name, package.path)
    if not path then
        return reason
    end
    return assert(loadfile(path, "t")), path
end
)lua";

} // namespace platform
