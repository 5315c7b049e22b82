# The bridge benchmark drives the real bridge program over a private bus.
target_link_libraries(bench_apmbridge PRIVATE Qt5::DBus)
add_dependencies(bench_apmbridge ru.nuvo.webdeck-apmbridge)
target_compile_definitions(bench_apmbridge PRIVATE APMBRIDGE_PROGRAM="$<TARGET_FILE:ru.nuvo.webdeck-apmbridge>")
