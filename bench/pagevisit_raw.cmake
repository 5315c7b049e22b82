# The raw sqlite3 baseline of the page-visit benchmark: plain C, no Qt.
add_executable(bench_pagevisit_raw ${CMAKE_CURRENT_LIST_DIR}/pagevisit_raw.c)
target_link_libraries(bench_pagevisit_raw PRIVATE sqlite3)
