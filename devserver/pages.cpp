#include "devserver/pages.h"

namespace tobrel::devserver {

namespace {

constexpr const char* style = R"(<style>
:root { color-scheme: light dark; --line: #8883; --soft: #5f6368; --accent: #1257b8; }
@media (prefers-color-scheme: dark) { :root { --soft: #9aa0a6; --accent: #8ab8ff; } }
body { margin: 0 auto; max-width: 46rem; padding: 2rem 1.25rem; font: 16px/1.5 system-ui, sans-serif; }
header { display: flex; justify-content: space-between; gap: 1rem; color: var(--soft); font-size: .875rem; }
select { font: inherit; color: inherit; background: none; border: 0; }
header b { color: var(--accent); letter-spacing: .02em; }
h1 { font-size: 1.25rem; font-weight: 600; margin: 1.25rem 0 .75rem; overflow-wrap: anywhere; }
a { color: var(--accent); text-decoration: none; }
a:hover, a:focus { text-decoration: underline; }
ul { list-style: none; margin: 0; padding: 0; border-top: 1px solid var(--line); }
li { display: flex; gap: 1rem; padding: .55rem .25rem; border-bottom: 1px solid var(--line); }
li > :first-child { flex: 1; overflow-wrap: anywhere; }
li span + span, li a + span, p { color: var(--soft); }
</style>)";

std::string page(const std::string& title, const std::string& content) {
    return "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           escaped(title) + "</title>\n" + style + "</head>\n<body>\n" + content + "</body></html>\n";
}

std::string sizeText(std::uint64_t size) {
    if (size < 1000) return std::to_string(size) + " bytes";
    return size < 1000000 ? std::to_string(size / 1000) + " KB" : std::to_string(size / 1000000) + " MB";
}

constexpr const char* filesContent =
    R"(<header><b>Tobrel</b><select id="user" aria-label="Signed in as"></select></header>
<h1 id="place"></h1>
<ul id="items"></ul>
<p id="message" role="status"></p>
<script>
"use strict";
const byId = (id) => document.getElementById(id);

// "#files/Docs/My%20Files" names the folder Docs/My Files; a piece that does not decode stands for itself.
function pieces() {
  const decode = (piece) => { try { return decodeURIComponent(piece); } catch { return piece; } };
  const [view, ...path] = location.hash.slice(1).split("/");
  return view === "files" ? path.filter(Boolean).map(decode) : [];
}

const address = (path) => "#files" + path.map((piece) => "/" + encodeURIComponent(piece)).join("");

// Names come from users: they are only ever set as text.
function element(name, text, href) {
  const made = document.createElement(name);
  made.textContent = text;
  if (href) made.href = href;
  return made;
}

function sizeText(size) {
  if (size < 1000) return size + " bytes";
  return size < 1000000 ? Math.floor(size / 1000) + " KB" : Math.floor(size / 1000000) + " MB";
}

function row(path, item) {
  const line = document.createElement("li");
  line.append(item.is_folder ? element("a", item.name + "/", address([...path, item.name]))
                             : element("span", item.name));
  if (item.owner) line.append(element("span", item.owner));
  if (!item.is_folder) line.append(element("span", sizeText(item.size)));
  return line;
}

function showUsers(users, user) {
  const options = users.map((email) => element("option", email));
  options.forEach((option) => { option.selected = option.value === user; });
  byId("user").replaceChildren(...options);
}

let latest = 0;
async function show() {
  const turn = ++latest, path = pieces();
  let answer = null, error = "";
  try {
    const query = { path: path.join("/"), user: byId("user").value };
    const response = await fetch("files.json?" + new URLSearchParams(query));
    answer = await response.json();
    error = answer.error ?? "";
  } catch { error = "The server does not answer."; }
  if (turn !== latest) return;
  const crumbs = [element("a", "Files", "#files")];
  path.forEach((piece, index) => crumbs.push(" / ", element("a", piece, address(path.slice(0, index + 1)))));
  byId("place").replaceChildren(...crumbs);
  document.title = (path.at(-1) ?? "Files") + " · Tobrel";
  if (answer?.users) showUsers(answer.users, answer.user);
  byId("items").replaceChildren(...(error ? [] : answer.items.map((item) => row(path, item))));
  byId("message").textContent = error || (answer.items.length ? "" : "This folder is empty.");
}
addEventListener("hashchange", show);
byId("user").addEventListener("change", show);
show();
</script>
)";

}  // namespace

std::string escaped(const std::string& text) {
    std::string result;
    for (char character : text) {
        switch (character) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            case '\'':
                result += "&#39;";
                break;
            default:
                result += character;
        }
    }
    return result;
}

std::string filesPage() {
    return page("Files · Tobrel", filesContent);
}

std::string linkPage(const Service::LinkContent& content) {
    std::string body = "<header><b>Tobrel</b><span>Shared by " + escaped(content.link.owner) +
                       "</span></header>\n<h1>" + escaped(content.link.name) + "</h1>\n<ul>\n";
    for (const Entry& entry : content.entries)
        body += "<li><span>" + escaped(entry.name) + (entry.isFolder ? "/</span>" : "</span><span>") +
                (entry.isFolder ? "" : sizeText(entry.size) + "</span>") + "</li>\n";
    body += "</ul>\n";
    if (content.entries.empty()) body += "<p>Nothing is left here.</p>\n";
    body += "<p>" +
            (content.link.expires ? "This link works until " + textOf(*content.link.expires) + " UTC."
                                  : std::string("This link does not expire.")) +
            "</p>\n";
    return page(content.link.name + " · Tobrel", body);
}

std::string messagePage(const std::string& title, const std::string& sentence) {
    return page(title + " · Tobrel",
                "<header><b>Tobrel</b></header>\n<h1>" + escaped(title) + "</h1>\n<p>" + escaped(sentence) + "</p>\n");
}

}  // namespace tobrel::devserver
