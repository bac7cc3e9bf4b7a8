#include <vantiflux/web/StyleSheet.h>

namespace Vantiflux {

// Rows are classed alternately although both classes have one colour, so that a sheet of one's own can tell them apart.
const std::string_view styleSheet = "body { color: black; background-color: white; font-family: sans-serif }\n"
                                    "div.lHeader { font-weight: bold; font-style: italic; text-align: left }\n"
                                    "div.rHeader { font-weight: bold; font-style: italic; text-align: right }\n"
                                    "div.namespace { font-style: italic }\n"
                                    "span.nodesleeping { color: black }\n"
                                    "span.noderunning { color: #003399 }\n"
                                    "span.nodeerror { color: red }\n"
                                    "hr { }\n"
                                    "ul { list-style-type: square }\n"
                                    "h1 { color: #999999 }\n"
                                    "h2 { color: #999999 }\n"
                                    "table.header { background-color: #003399 }\n"
                                    "tr.header { color: white }\n"
                                    "td.header { color: white }\n"
                                    "a.header:link { color: white }\n"
                                    "a.header:visited { color: white }\n"
                                    "a.header:hover { color: white }\n"
                                    "a.header:active { color: white }\n"
                                    "th { color: white; background-color: #003399 }\n"
                                    "tr { text-align: justify; vertical-align: top }\n"
                                    "tr.even { background-color: PapayaWhip }\n"
                                    "tr.odd { background-color: PapayaWhip }\n";

} // namespace Vantiflux
