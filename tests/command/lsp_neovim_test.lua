-- Runs in Neovim: its own client of the protocol talks to zar lsp, and what the editor then has is compared.
--   nvim --headless --clean -u NONE -l ... is newer than 0.7, so: nvim --headless --clean -c 'luafile THIS'
-- with ZAR, FOLDER and RESULT in the environment. The result is "good", or what is wrong.
local zar, folder, result = vim.env.ZAR, vim.env.FOLDER, vim.env.RESULT
local TIMEOUT = 120000

local function finish(text)
  local file = assert(io.open(result, "w"))
  file:write(text)
  file:close()
  vim.cmd("qall!")
end

local function wait_for(what, condition)
  assert(vim.wait(TIMEOUT, condition, 20), "nothing came of: " .. what)
end

local function expect(what, actual, expected)
  assert(vim.deep_equal(actual, expected), what .. ": " .. vim.inspect(actual) .. ", expected " .. vim.inspect(expected))
end

local function lines()
  return vim.api.nvim_buf_get_lines(0, 0, -1, false)
end

-- Puts the cursor on the first place of a text, and so many bytes further.
local function go_to(text, further)
  for number, line in ipairs(lines()) do
    local at = line:find(text, 1, true)
    if at then
      vim.api.nvim_win_set_cursor(0, {number, at - 1 + (further or 0)})
      return
    end
  end
  error("there is no " .. text)
end

local function replace(old, new)
  go_to(old)
  local row, column = unpack(vim.api.nvim_win_get_cursor(0))
  vim.api.nvim_buf_set_text(0, row - 1, column, row - 1, column + #old, {new})
end

local function request(method, params)
  local answers = assert(vim.lsp.buf_request_sync(0, method, params, TIMEOUT))
  for _, answer in pairs(answers) do
    assert(not answer.error, vim.inspect(answer.error))
    return answer.result
  end
end

local function at_cursor()
  return vim.lsp.util.make_position_params(0, "utf-16")
end

local function messages()
  local all = {}
  for _, each in ipairs(vim.diagnostic.get(0)) do
    table.insert(all, each.message)
  end
  return all
end

local function attach()
  vim.cmd("edit " .. folder .. "/policy.yaml")
  -- The newer editors have vim.lsp.start; the older one does the same in two steps.
  local client = vim.lsp.start_client({name = "zar", cmd = {zar, "lsp"}, root_dir = folder})
  assert(vim.lsp.buf_attach_client(0, client))
  wait_for("the start", function()
    local running = vim.lsp.get_client_by_id(client)
    return running and running.server_capabilities and running.server_capabilities.hoverProvider
  end)
  return client
end

local function diagnostics_follow_the_text()
  wait_for("findings", function() return #messages() == 1 and messages()[1]:find("spare is not used", 1, true) end)
  replace("class: gold", "class: glod")
  wait_for("an error", function() return (messages()[1] or ""):find("'glod'", 1, true) end)
  replace("class: glod", "class: gold")
  wait_for("no error", function() return #messages() == 1 and messages()[1]:find("spare", 1, true) end)
end

local function hover_shows_the_class()
  go_to("class: gold", 8)
  local text = request("textDocument/hover", at_cursor()).contents.value
  assert(text:find("match tier equals gold", 1, true), text)
end

local function completion_fills_in()
  replace("class: gold", "class: go")
  go_to("class: go", #"class: go" - 1)
  vim.bo.omnifunc = "v:lua.vim.lsp.omnifunc"
  -- Behind the word, as someone who types.
  vim.api.nvim_feedkeys(vim.api.nvim_replace_termcodes("a<C-x><C-o>", true, false, true), "n", false)
  vim.api.nvim_feedkeys(vim.api.nvim_replace_termcodes("<C-y><Esc>", true, false, true), "n", false)
  local row, column = unpack(vim.api.nvim_win_get_cursor(0))
  local answer = request("textDocument/completion", {
    textDocument = vim.lsp.util.make_text_document_params(0),
    position = {line = row - 1, character = column + 1},
  })
  local gold = vim.tbl_filter(function(item) return item.label == "gold" end, answer.items)[1]
  vim.lsp.util.apply_text_edits({gold.textEdit}, vim.api.nvim_get_current_buf(), "utf-16")
  go_to("class: gold,")
end

local function definition_jumps()
  go_to("class: gold", 8)
  vim.lsp.buf.definition()
  wait_for("the jump", function() return vim.api.nvim_get_current_line():find("^  gold:") end)
  expect("column", vim.api.nvim_win_get_cursor(0)[2], 2)
end

local function references_are_listed()
  go_to("class: gold", 8)
  vim.lsp.buf.references()
  wait_for("the list", function() return #vim.fn.getqflist() == 2 end)
  vim.cmd("cclose")
end

local function rename_edits_every_use()
  go_to("class: gold", 8)
  vim.lsp.buf.rename("golden")
  wait_for("the new name", function() return table.concat(lines(), "\n"):find("  golden: ", 1, true) end)
  expect("old names", #vim.tbl_filter(function(line) return line:find("class: gold,", 1, true) end, lines()), 0)
  go_to("class: golden,")
end

local function symbols_are_nested()
  local symbols = request("textDocument/documentSymbol", {textDocument = vim.lsp.util.make_text_document_params(0)})
  expect("a rule", symbols[3].children[1].children[1].children[1].name, "10 golden")
  local found = request("workspace/symbol", {query = "spare"})
  expect("in the folder", found[1].name, "spare")
end

local function an_action_removes_what_is_not_used()
  go_to("spare", 1)
  wait_for("the finding", function() return #messages() == 1 end)
  local position = at_cursor()
  local actions = request("textDocument/codeAction", {
    textDocument = position.textDocument,
    range = {start = position.position, ["end"] = position.position},
    context = {diagnostics = {}},
  })
  expect("actions", {actions[1].title, actions[2].title}, {"Remove the class-map 'spare'", "Ignore this unused-class"})
  vim.lsp.util.apply_workspace_edit(actions[1].edit, "utf-16")
  wait_for("no findings", function() return #messages() == 0 end)
  assert(not table.concat(lines(), "\n"):find("spare"))
end

local function formatting_lays_out()
  replace("targets:", "targets:    ")
  local edits = request("textDocument/formatting", vim.lsp.util.make_formatting_params())
  vim.lsp.util.apply_text_edits(edits, vim.api.nvim_get_current_buf(), "utf-16")
  assert(table.concat(lines(), "\n"):find("\ntargets:\n", 1, true))
end

local function lenses_show_results()
  local lenses = request("textDocument/codeLens", {textDocument = vim.lsp.util.make_text_document_params(0)})
  local titles = vim.tbl_map(function(lens) return lens.command.title end, lenses)
  expect("lenses", titles, {"scenario: 1 hit: 1 permit", "permit", "run this test: passed"})
  vim.lsp.codelens.refresh()
  wait_for("the lenses in the editor", function() return #vim.lsp.codelens.get(0) == 3 end)
  local ran = request("workspace/executeCommand", lenses[3].command)
  expect("test", ran.passed, true)
end

local function hints_show_hits()
  local params = vim.lsp.util.make_given_range_params({1, 0}, {#lines(), 0})
  local hints = request("textDocument/inlayHint", {textDocument = params.textDocument, range = params.range})
  local labels = vim.tbl_map(function(hint) return hint.label end, hints)
  expect("hints", labels, {"decides permit", "1 hit"})
end

local function the_server_ends(client)
  local ended
  vim.lsp.get_client_by_id(client).config.on_exit = function(code) ended = code end
  vim.lsp.stop_client(client)
  wait_for("the end", function() return vim.lsp.get_client_by_id(client) == nil end)
  if ended then expect("exit code", ended, 0) end
end

local function run()
  local client = attach()
  for _, each in ipairs({
    {"diagnostics", diagnostics_follow_the_text}, {"hover", hover_shows_the_class}, {"completion", completion_fills_in},
    {"definition", definition_jumps}, {"references", references_are_listed}, {"rename", rename_edits_every_use},
    {"symbols", symbols_are_nested}, {"actions", an_action_removes_what_is_not_used}, {"formatting", formatting_lays_out},
    {"lenses", lenses_show_results}, {"hints", hints_show_hits},
  }) do
    local good, why = pcall(each[2])
    assert(good, each[1] .. ": " .. tostring(why))
  end
  the_server_ends(client)
  return "good"
end

local _, text = xpcall(run, function(why) return debug.traceback(tostring(why)) end)
finish(text)
