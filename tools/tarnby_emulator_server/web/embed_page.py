#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Writes the control panel's page as a C++ string constant: embed_page.py <panel.html> <panel_page.h>
import sys

page = open(sys.argv[1], encoding="utf-8").read()
if ")PANEL\"" in page:
    sys.exit("the page must not contain the raw string's end marker")
with open(sys.argv[2], "w", encoding="utf-8") as header:
    header.write("// Generated from web/panel.html by web/embed_page.py.\n#pragma once\n")
    header.write('inline constexpr const char *PANEL_PAGE = R"PANEL(' + page + ')PANEL";\n')
