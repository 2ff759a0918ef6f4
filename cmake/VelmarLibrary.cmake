# What every target shares, and the two ways to make one: a room of the house and a test of it.

add_library(velmar_common INTERFACE)
target_compile_options(velmar_common INTERFACE -Wall -Wextra -Wpedantic)
if(VELMAR_TESTS) # who only wants the program is not stopped by what another compiler remarks
    target_compile_options(velmar_common INTERFACE -Werror)
endif()
target_compile_definitions(velmar_common INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY
    QT_STRICT_ITERATORS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
target_link_libraries(velmar_common INTERFACE Qt6::Core)

if(VELMAR_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
endif()

find_program(VELMAR_MOLD mold)
if(VELMAR_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

find_program(VELMAR_CCACHE ccache)
if(VELMAR_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${VELMAR_CCACHE})
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endif()

set(velmar_core_pch
    <QByteArray> <QByteArrayView> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QList> <QObject> <QString>
    <QStringList> <QStringView> <QVector> <algorithm> <array> <cstdint> <functional> <memory> <optional>
    <utility> <vector>)
set(velmar_ui_pch ${velmar_core_pch} <QAction> <QApplication> <QLabel> <QPainter> <QStyle> <QWidget>)

# velmar_library(pop3 net/pop3 LINKS net): the library of one folder. It shows its headers through a folder of
# its own that holds one link per header, so that only those who link it see them, and subfolders stay hidden.
function(velmar_library name folder)
    cmake_parse_arguments(arg "UI" "" "LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp)
    list(REMOVE_ITEM sources ${CMAKE_SOURCE_DIR}/src/${folder}/main.cpp) # belongs to the program
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.h)
    if(NOT sources)
        message(FATAL_ERROR "There is no room src/${folder}")
    endif()
    set(seen ${CMAKE_BINARY_DIR}/seen/${name})
    file(REMOVE_RECURSE ${seen})
    file(MAKE_DIRECTORY ${seen}/${folder})
    foreach(header IN LISTS headers)
        cmake_path(GET header FILENAME leaf)
        file(CREATE_LINK ${header} ${seen}/${folder}/${leaf} SYMBOLIC)
    endforeach()
    add_library(velmar_${name} STATIC ${sources} ${headers})
    # the tool behind Q_OBJECT looks only at headers it knows of: those that came since make it begin anew
    set(known "")
    if(EXISTS ${seen}.headers)
        file(READ ${seen}.headers known)
    endif()
    if(NOT known STREQUAL "${headers}")
        file(REMOVE ${CMAKE_CURRENT_BINARY_DIR}/velmar_${name}_autogen/timestamp)
        file(WRITE ${seen}.headers "${headers}")
    endif()
    target_include_directories(velmar_${name} PUBLIC ${seen})
    target_link_libraries(velmar_${name} PUBLIC velmar_common)
    foreach(link IN LISTS arg_LINKS)
        if(TARGET velmar_${link})
            target_link_libraries(velmar_${name} PUBLIC velmar_${link})
        elseif(TARGET ${link})
            target_link_libraries(velmar_${name} PUBLIC ${link})
        else()
            message(FATAL_ERROR "${name} links ${link}, which is neither a room below it nor a package")
        endif()
    endforeach()
    if(arg_UI)
        target_precompile_headers(velmar_${name} PRIVATE ${velmar_ui_pch})
    else()
        target_precompile_headers(velmar_${name} PRIVATE ${velmar_core_pch})
    endif()
endfunction()

# velmar_icons(look): the drawings of data/icons inside that library, at :/icons.
function(velmar_icons name)
    file(GLOB icons CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/data/icons/*.svg)
    qt_add_resources(velmar_${name} velmar_icons PREFIX /icons BASE ${CMAKE_SOURCE_DIR}/data/icons FILES ${icons})
endfunction()

# velmar_demo(app): the demo mailbox, the sample templates and the program's own icon inside that library, at
# :/demo.mbox, :/templates and :/velmar.svg.
function(velmar_demo name)
    file(GLOB templates CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/data/templates/*.txt)
    qt_add_resources(velmar_${name} velmar_demo PREFIX / BASE ${CMAKE_SOURCE_DIR}/data
        FILES ${CMAKE_SOURCE_DIR}/data/demo.mbox ${CMAKE_SOURCE_DIR}/data/velmar.svg ${templates})
endfunction()

# velmar_program(velmar-cli cli): the program whose main.cpp lies in the folder of the library it consists of.
function(velmar_program name library)
    add_executable(${name} ${CMAKE_SOURCE_DIR}/src/${library}/main.cpp)
    target_link_libraries(${name} PRIVATE velmar_${library})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
endfunction()

# velmar_test(config settings_test), in tests/config: settings_test.cpp against the one library it is about.
# LINKS adds what a test needs besides (other rooms, Qt modules); TIMEOUT is in seconds.
function(velmar_test room source)
    cmake_parse_arguments(arg "" "TIMEOUT" "LINKS" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    set(target ${room}_${source})
    add_executable(${target} ${CMAKE_CURRENT_SOURCE_DIR}/${source}.cpp)
    target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(${target} PRIVATE velmar_${room} Qt6::Test ${arg_LINKS})
    target_compile_definitions(${target} PRIVATE VELMAR_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data")
    target_precompile_headers(${target} REUSE_FROM velmar_${room})
    add_test(NAME ${target} COMMAND ${target})
    set_tests_properties(${target} PROPERTIES TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;TZ=UTC;ASAN_OPTIONS=detect_leaks=1;QT_LOGGING_RULES=")
endfunction()
