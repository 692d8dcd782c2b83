# SPDX-License-Identifier: Apache-2.0
"""What the site needs beyond MkDocs: the navigation of docs/index.md, and a search index that a
page which was opened from a folder can load."""
import json
import pathlib
import re
import shutil

_SECTION = re.compile(r"^## (.+)$")
_PAGE = re.compile(r"^- \[(.+?)\]\(([^)#:]+\.md)\)")


def on_config(config):
    """Navigation: the sections and pages of index.md; pages that it does not list stand last."""
    docs = pathlib.Path(config["docs_dir"])
    sections, listed = [], {"index.md"}
    for line in (docs / "index.md").read_text(encoding="utf-8").splitlines():
        section, page = _SECTION.match(line), _PAGE.match(line)
        if section:
            sections.append({section.group(1): []})
        elif page and sections and (docs / page.group(2)).exists():
            next(iter(sections[-1].values())).append({page.group(1): page.group(2)})
            listed.add(page.group(2))
    others = sorted(path.name for path in docs.glob("*.md") if path.name not in listed)
    if others:
        sections.append({"More": others})
    if (docs / "api/index.html").exists():
        sections.append({"API": [{"Reference of the headers": "api/index.html"}]})
    filled = [section for section in sections if next(iter(section.values()))]
    config["nav"] = [{"Start": "index.md"}] + filled
    return config


def on_post_build(config):
    """Browsers refuse to fetch search_index.json from a folder; a script they load."""
    site = pathlib.Path(config["site_dir"])
    index = json.loads((site / "search/search_index.json").read_text(encoding="utf-8"))
    text = json.dumps(index, ensure_ascii=True, sort_keys=True)
    script = site / "search/search_index.js"
    script.write_text(f"window.searchIndex = {text};\n", encoding="ascii")
    _complete_theme(site / "js")


def _complete_theme(scripts):
    """Debian's theme names two scripts that its package leaves out: jQuery, which is there under the
    name of another version, and one that gives tables the class that the theme's style is for."""
    wanted = scripts / "jquery-3.6.0.min.js"
    if not wanted.exists():
        shutil.copyfile(next(scripts.glob("jquery-*.min.js")), wanted)
    extra = scripts / "theme_extra.js"
    if not extra.exists():
        extra.write_text('document.querySelectorAll("table").forEach('
                         '(table) => table.classList.add("docutils"));\n', encoding="ascii")
