# The manual: HTML and manual pages, of these documents and of the comments in the public headers.  The build
# gives the version and where Doxygen has put what it read.

import re
from pathlib import Path

from docutils import nodes
from sphinx import addnodes
from sphinx.writers.manpage import ManualPageTranslator

project = "ttydb"
author = "the ttydb developers"
extensions = ["breathe", "myst_parser"]
exclude_patterns = ["diagrams"]
myst_enable_extensions = ["deflist"]
nitpicky = True
smartquotes = False

breathe_default_project = "ttydb"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_default_members = ("members", "undoc-members")
breathe_show_define_initializer = True
breathe_show_include = False
# Types of the C and C++ libraries, and what stands for any type.
nitpick_ignore_regex = [
    ("c:identifier", "pthread_.*|size_t|u?int.*_t"),
    ("cpp:identifier", "std(::.*)?|ttydb|position|detail(::.*)?|tty_db_.*|[A-Z].*"),
]

html_theme = "furo"
html_title = "ttydb"
html_copy_source = False
html_show_copyright = False
html_show_sphinx = False
html_static_path = ["manual.css"]
html_css_files = ["manual.css"]

man_pages = [
    ("reference/ttydb", "ttydb", "registry of the terminal lines of a process", "", 3),
    ("reference/databases", "tty_db_create", "databases of terminal lines", "", 3),
    ("reference/blocks", "tty_db_block_reserve", "blocks of ids of terminal lines", "", 3),
    ("reference/lines", "tty_db_tty_register", "terminal lines and their entries", "", 3),
    ("reference/items", "tty_db_item_create", "items on the entry of a terminal line", "", 3),
    ("reference/iterators", "tty_db_iterate_start", "walk over the registered terminal lines", "", 3),
    ("reference/internal", "tty_db_block_reserve_internal", "building blocks of the operations on a registry", "", 3),
    ("tty-lines", "tty-lines", "list the terminal lines of this machine", "", 1),
]


class ManPageTranslator(ManualPageTranslator):
    """A page of functions has all of their names, and begins with how they are called."""

    # Programs as wide as the page.
    visit_literal_block = ManualPageTranslator.visit_doctest_block
    depart_literal_block = ManualPageTranslator.depart_doctest_block

    def __init__(self, document, builder):
        super().__init__(document, builder)
        self.defs["literal_block"] = (".sp\n.EX\n", "\n.EE\n")

    def header(self):
        title, name, rest = super().header().partition(".SH NAME\n")
        title += ".ad l\n.nh\n"
        functions = [
            signature
            for description in self.document.findall(addnodes.desc)
            if description["objtype"] == "function"
            for signature in description.findall(addnodes.desc_signature)
        ]
        if not functions:
            return title + name + rest

        page, dash, subject = rest.partition(" \\- ")
        names = [next(function.findall(addnodes.desc_name)).astext() for function in functions]
        for other in set(names) - {page}:
            link = Path(self.builder.outdir, f"{other}.3")
            link.unlink(missing_ok=True)
            link.symlink_to(f"{page}.3")
        synopsis = "".join(f".HP 4\n.B \"{self.prototype(function)};\"\n" for function in functions)
        return (
            title + name + ", ".join(names) + dash + subject
            + ".SH SYNOPSIS\n.nf\n.B #include <tty_db.h>\n.fi\n" + synopsis + ".SH DESCRIPTION\n"
        )

    @staticmethod
    def prototype(function):
        """How a function is declared, to be broken between its parameters alone."""
        words = " ".join(function.astext().split())
        return words.replace(" ", "\\ ").replace(",\\ ", ", ")

    def visit_rubric(self, node):
        raise nodes.SkipNode


def open_groups(app, document):
    """What a group of the header says, and its members, stand on the page of the group without a frame."""
    for description in list(document.findall(addnodes.desc)):
        if description["objtype"] == "group":
            description.replace_self(description[-1].children)


def complete_theme(app, exception):
    """Adds what Debian's build of furo lacks: its script imports another, which no browser does in a page that
    is read from a file, and its style sheet does not follow the reader's preference for dark."""
    static = Path(app.outdir, "_static")
    if exception or not static.exists():
        return
    script = static / "scripts/furo.js"
    text = script.read_text()
    if text.startswith("import "):
        script.write_text((static / "scripts/gumshoe-patched.js").read_text() + text[text.index("\n"):])
    style = static / "styles/furo.css"
    text = style.read_text()
    if "prefers-color-scheme" not in text:
        dark = re.search(r'body\[data-theme="dark"\] (\{.*?\})', text, re.DOTALL)[1]
        preference = "@media screen and (prefers-color-scheme: dark)"
        style.write_text(text + preference + ' { body:not([data-theme="light"]) ' + dark + " }\n")


def setup(app):
    app.set_translator("man", ManPageTranslator)
    app.connect("doctree-read", open_groups)
    app.connect("build-finished", complete_theme)
