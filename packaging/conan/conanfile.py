"""Conan 2 recipe: builds the library of the checkout that contains it."""

import os
import re

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import load


class ZVUWPSrvcLib(ConanFile):
    name = "zvuwpsrvclib"
    description = "Service library for hosts of Zorvane Wi-Fi adapters"
    settings = "os", "arch", "compiler", "build_type"
    package_type = "shared-library"
    exports = "../../CMakeLists.txt"

    def set_version(self):
        path = os.path.join(self.recipe_folder, "..", "..", "CMakeLists.txt")
        if not os.path.exists(path):  # the exported recipe
            path = os.path.join(self.recipe_folder, "CMakeLists.txt")
        self.version = re.search(r"VERSION (\d+\.\d+\.\d+)", load(self, path)).group(1)

    def export_sources(self):
        from conan.tools.files import copy

        root = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "CHANGES.md", "README.md", "cmake/*", "docs/*", "SrvcMain/*", "Platform/*",
                        "HostKit/*", "Samples/*"):
            copy(self, pattern, root, self.export_sources_folder)

    def validate(self):
        check_min_cppstd(self, 20)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        for part in ("TOOLS", "SAMPLES", "TESTS", "BENCHMARKS"):
            toolchain.cache_variables[f"ZV_BUILD_{part}"] = False
        toolchain.cache_variables["ZV_WARNINGS_AS_ERRORS"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # Users read the library's own CMake package.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs.append(os.path.join("lib", "cmake", "ZVUWPSrvcLib"))
