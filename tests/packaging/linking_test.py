"""Other programs use the panel's library: installed, found by CMake and by pkg-config; built along
by add_subdirectory; built alone. Each runs with a real database."""

import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from tools import CHECKOUT, depends, dpkg, package, shell

import panel as sandbox

NAME = "kem-support-dev"
PREFIX = Path("/opt/kem")
HEADERS = ("conf", "database", "ex_error", "get", "idn", "put", "report", "strings", "templates")
FOREIGN = CHECKOUT / "tests" / "packaging" / "foreign"
GUIDE = (CHECKOUT / "docs" / "library.md").read_text()
PARALLEL = str(os.cpu_count())


@pytest.fixture(scope="module")
def library():
    """The package, installed."""
    dpkg("--install", package(NAME))
    yield PREFIX
    dpkg("--purge", NAME)


@pytest.fixture(scope="module", autouse=True)
def _panel():
    database = sandbox.sample()
    yield
    database.stop()
    shutil.rmtree(sandbox.DATA)


def run(*command, **environment):
    """What a program wrote to standard output, without the system error number that the client
    library leaves."""
    process = subprocess.run(command, capture_output=True, env={"PATH": "/usr/bin", **environment})
    assert process.returncode == 0, process.stderr.decode()
    return re.sub(r"\n?\nSystem error \d+: [^\n]*", "", process.stdout.decode())


def build(source, *options):
    """Configures and builds with CMake; returns the build directory."""
    binary = source / "build"
    shell("cmake", "-S", source, "-B", binary, "-G", "Ninja", *options)
    shell("cmake", "--build", binary, "--parallel", PARALLEL)
    return binary


# --- what is installed ---------------------------------------------------------------------------

def test_installs_nine_headers_the_archive_and_what_finds_them(library):
    listed = [Path(line) for line in shell("dpkg", "-L", NAME).stdout.decode().splitlines()]
    below = {str(path.relative_to(library)) for path in listed
             if path.is_relative_to(library) and path.is_file()}
    assert below == {
        *(f"include/kem/{header}.h" for header in HEADERS), "lib/libkem-support.a",
        "lib/pkgconfig/kem-support.pc",
        *(f"lib/cmake/kem-support/kem-support-{part}.cmake"
          for part in ("config", "config-version", "targets", "targets-release"))}
    for path in listed:
        assert path.stat().st_mode & 0o777 == (0o755 if path.is_dir() else 0o644), path


def test_depends_on_what_is_linked_and_loaded():
    assert {"libmariadb-dev", "libidn12"} <= depends(NAME)


def test_removal_leaves_nothing(library):
    listed = {Path(line) for line in shell("dpkg", "-L", NAME).stdout.decode().splitlines()}
    dpkg("--purge", NAME)
    try:
        assert not any(path.is_file() for path in listed)
        assert not library.exists()
    finally:
        dpkg("--install", package(NAME))


@pytest.mark.parametrize("header", HEADERS)
def test_each_header_is_whole(library, tmp_path, header):
    source = tmp_path / "alone.cpp"
    source.write_text(f"#include <kem/{header}.h>\n")
    shell("g++", "-std=c++11", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow",
          "-Wconversion", "-Werror", f"-I{library}/include", source)


def test_the_headers_define_no_macro_of_another_name(library):
    macros = [name for path in (library / "include" / "kem").iterdir()
              for name in re.findall(r"# *define +(\w+)", path.read_text())]
    assert "KEM_CONF_KEYS" in macros
    assert [name for name in macros if not name.startswith("KEM_")] == []


def symbols(archive):
    """The symbols that an archive defines for others."""
    lines = shell("nm", "--demangle", "--extern-only", "--defined-only", archive).stdout.decode()
    return re.findall(r"^[0-9a-f]* +[A-Z] (.*)$", lines, re.MULTILINE)


def global_names(symbol):
    """The names in a symbol, also in its arguments, that are in no namespace."""
    text = re.sub(r"\b(?:std|__gnu_cxx|kem|quern)::[\w:~]+|>::[\w~]+|\[abi:\w+\]|^DW\.ref\.", "",
                  symbol)
    return set(re.findall(r"[A-Za-z_]\w*", text)) - {
        "char", "const", "int", "unsigned", "long", "bool", "void", "__va_list_tag", "st_mysql_res",
        "__gxx_personality_v0"}


def test_the_archive_has_no_name_that_its_headers_lack(library):
    code = "".join(re.sub("//.*", "", (library / "include" / "kem" / f"{header}.h").read_text())
                   for header in HEADERS)
    public = set(re.findall(r"\w+", code))
    found = symbols(library / "lib" / "libkem-support.a")
    assert {"get_run_mode()", "QMAIL_ROOT_D", "kem::LateLibrary::Load()"} <= set(found)
    assert {symbol: global_names(symbol) - public for symbol in found
            if not global_names(symbol) <= public} == {}


@pytest.mark.parametrize("symbol, expected", [
    ("db_connect()", {"db_connect"}),
    ("Statement::text() const", {"Statement", "text"}),
    ("std::unique_ptr<char, FreeMemory>::~unique_ptr()", {"FreeMemory"}),
    ("kem::first_value(st_mysql*, std::unique_ptr<st_mysql_res, kem::FreeResult>&)", {"st_mysql"}),
    ("idn_toascii_string[abi:cxx11](char const*)", {"idn_toascii_string"}),
])
def test_names_in_no_namespace_are_told_from_others(symbol, expected):
    assert global_names(symbol) == expected


# --- programs ------------------------------------------------------------------------------------

FIND_PACKAGE = """
cmake_minimum_required(VERSION 3.15)
project(foreign LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
find_package(kem-support 1.0 REQUIRED)
add_executable(foreign main.cpp names.cpp)
target_link_libraries(foreign PRIVATE kem::support)
"""

# The project has targets named like some of the library's build.
ADD_SUBDIRECTORY = """
cmake_minimum_required(VERSION 3.25)
project(foreign LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
add_library(support INTERFACE)
add_library(base INTERFACE)
add_subdirectory(third_party)
add_executable(foreign main.cpp names.cpp)
target_link_libraries(foreign PRIVATE support base kem::support)
install(TARGETS foreign)
"""


def foreign(directory, project=None):
    """The sources of a program whose names are also used inside the library."""
    shutil.copytree(FOREIGN, directory)
    if project is not None:
        (directory / "CMakeLists.txt").write_text(project)
    return directory


def copied_library(directory):
    """A copy of the library's folder, without the rest of the checkout and under another name."""
    return shutil.copytree(CHECKOUT / "support", directory)


def found_by_cmake(library, place):
    source = foreign(place / "program", FIND_PACKAGE)
    return build(source, f"-DCMAKE_PREFIX_PATH={library}") / "foreign"


def compiled_with_pkg_config(prefix, directory, *sources):
    flags = shell("pkg-config", "--cflags", "--libs", "kem-support",
                  env={**os.environ, "PKG_CONFIG_PATH": f"{prefix}/lib/pkgconfig"})
    program = directory / "program.out"
    shell("g++", "-std=c++17", *sources, *flags.stdout.decode().split(), "-o", program,
          cwd=directory)
    return program


def found_by_pkg_config(library, place):
    return compiled_with_pkg_config(library, foreign(place / "program"), "main.cpp", "names.cpp")


def built_along(_, place):
    source = foreign(place / "program", ADD_SUBDIRECTORY)
    copied_library(source / "third_party" / "panel-library")
    (source / "third_party" / "CMakeLists.txt").write_text("add_subdirectory(panel-library)\n")
    # Without optimisation, inline functions are symbols too.
    binary = build(source, "-DCMAKE_BUILD_TYPE=Debug")
    shell("cmake", "--install", binary, "--prefix", place / "installed")
    installed = {path.name for path in (place / "installed").rglob("*") if path.is_file()}
    assert installed == {"foreign"}
    return binary / "foreign"


def built_alone(_, place):
    binary = build(copied_library(place / "panel-library"))
    shell("cmake", "--install", binary, "--prefix", place / "installed")
    shutil.move(place / "installed", place / "moved")
    for program in (compiled_with_pkg_config(place / "moved", foreign(place / "by pkg-config"),
                                             "main.cpp", "names.cpp"),
                    build(foreign(place / "by cmake", FIND_PACKAGE),
                          f"-DCMAKE_PREFIX_PATH={place / 'moved'}") / "foreign"):
        assert program.exists()
    return program


WAYS = (found_by_cmake, found_by_pkg_config, built_along, built_alone)


@pytest.mark.parametrize("way", WAYS, ids=lambda way: way.__name__)
def test_a_program_with_names_as_the_library_has_inside(library, tmp_path, way):
    program = way(library, tmp_path)
    assert run(program).splitlines() == [
        "conf: /run/panel/qmail",
        "written: yes",
        "setting: it's blue",
        "table: shop",
        "query: 42",
        "client: grete@customer.example",
        f"{program.name}: Unable to query parameter by query nonsense: You have an error in your SQL"
        " syntax; check the manual that corresponds to your MariaDB server version for the right"
        " syntax to use near 'nonsense' at line 1",
        "bad query: null",
        "escaped: it\\'s",
        "ascii: xn--mller-kva.example",
        "url: http://xn--mller-kva.example/",
        "word: 10",
        "replaced: three two three",
        "letter: Dear Grete, until Monday",
        "caught: no such charset",
        "foreign calls by the library: 0",
        "foreign calls by the program: 31",
    ]


# --- the guide's example -------------------------------------------------------------------------

def in_guide(language):
    """The examples in a language, in order."""
    return re.findall(rf"^```{language}\n(.*?)^```$", GUIDE, re.MULTILINE | re.DOTALL)


@pytest.fixture
def example(tmp_path):
    """The guide's program and its CMake project."""
    (source,), (project,) = in_guide("cpp"), in_guide("cmake")
    (tmp_path / "main.cpp").write_text(source)
    (tmp_path / "CMakeLists.txt").write_text(project)
    return tmp_path


@pytest.fixture(params=("cmake", "pkg-config"))
def client_email(library, example, request):
    """The guide's program, built by the guide's commands."""
    by_cmake, by_pkg_config = in_guide("sh")
    shell("sh", "-ec", by_cmake if request.param == "cmake" else by_pkg_config, cwd=example)
    return example / ("build/client-email" if request.param == "cmake" else "client-email")


def test_the_example_of_the_guide(client_email):
    assert run(client_email, "shop.example") == "grete@customer.example\n"
    nothing = subprocess.run([client_email, "nowhere.example"], capture_output=True)
    assert (nothing.returncode, nothing.stdout) == (1, b"")


@pytest.fixture
def _without_libidn():
    (path,) = Path("/usr/lib").glob("*/libidn.so.12.*")
    hidden = path.with_name("hidden")
    path.rename(hidden)
    yield
    hidden.rename(path)


def test_a_program_without_libidn_ends_where_it_first_needs_it(client_email, _without_libidn):
    assert run(client_email, "shop.example") == "grete@customer.example\n"
    ended = subprocess.run([client_email, "b\u00fccher.example"], capture_output=True)
    assert ended.returncode == 1
    assert ended.stderr.startswith(b"client-email: Unable to load libidn: libidn.so.12: ")
