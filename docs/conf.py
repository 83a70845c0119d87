# The manual, as HTML and as manual pages, from these documents and the comments in the public headers.  The build
# sets the version and the directory of Doxygen's output.

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
sys.dont_write_bytecode = True

project = "ttydb"
author = "the ttydb developers"
extensions = ["breathe", "myst_parser", "manual"]
exclude_patterns = ["diagrams"]
myst_enable_extensions = ["deflist"]
myst_heading_anchors = 3
nitpicky = True
smartquotes = False
highlight_language = "none"

breathe_default_project = "ttydb"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_default_members = ("members", "undoc-members")
breathe_show_define_initializer = True
breathe_show_include = False
# Names without a description in the manual: types of the C and C++ libraries, namespaces, template parameters, and
# `throws`, the default argument of C++ functions.
nitpick_ignore_regex = [
    ("c:identifier", "pthread_.*|size_t|u?int.*_t"),
    ("cpp:identifier", "std(::.*)?|ttydb|position|detail(::.*)?|tty_db_.*|throws|[A-Z].*"),
]

html_theme = "furo"
html_copy_source = False
html_show_copyright = False
html_show_sphinx = False
html_static_path = ["manual.css"]
html_css_files = ["manual.css"]
templates_path = ["templates"]
html_sidebars = {
    "**": [f"sidebar/{part}.html" for part in
           ("scroll-start", "brand", "search", "index", "navigation", "ethical-ads", "scroll-end")]
}

man_pages = [
    ("reference/ttydb", "ttydb", "database of the terminal lines of a process", "", 3),
    ("reference/databases", "tty_db_create", "databases of terminal lines", "", 3),
    ("reference/blocks", "tty_db_block_reserve", "blocks of ids of terminal lines", "", 3),
    ("reference/lines", "tty_db_tty_register", "terminal lines and their entries", "", 3),
    ("reference/items", "tty_db_item_create", "items on the entry of a terminal line", "", 3),
    ("reference/iterators", "tty_db_iterate_start", "walk over the registered terminal lines", "", 3),
    ("reference/internal", "tty_db_block_reserve_internal", "internal routines of the library", "", 3),
    ("tty-lines", "tty-lines", "list the terminal lines of this machine", "", 1),
]
