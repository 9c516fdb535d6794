"""Builds the Python package, as pip and `build` ask for it (PEP 517): a wheel with the library inside, and
the sources. Needs CMake, a compiler and binutils; nothing of Python's own.

A wheel is for all versions of Python, and for Linux systems with the glibc whose symbols the library needs,
or a later one: that is its tag. The setting "build" names a folder with a build to take library and package
from.
"""
import base64
import gzip
import hashlib
import io
import os
import pathlib
import platform
import re
import shutil
import subprocess
import tarfile
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
NAME, PYTHONS = 'qvimage', '>=3.8'
SUMMARY = re.search(r'^description = "(.*)"$', (ROOT / 'pyproject.toml').read_text(), re.M)[1]
EARLIEST = 315532800  # of what zip files can say: 1980


def version():
    return re.search(r'^project\(qvimage VERSION (\S+)', (ROOT / 'CMakeLists.txt').read_text(), re.M)[1]


def metadata():
    head = {'Metadata-Version': '2.1', 'Name': NAME, 'Version': version(), 'Summary': SUMMARY,
            'Requires-Python': PYTHONS, 'Provides-Extra': 'numpy', 'Requires-Dist': 'numpy; extra == "numpy"',
            'Description-Content-Type': 'text/markdown'}
    lines = [f'{key}: {value}' for key, value in head.items()]
    return '\n'.join(lines) + '\n\n' + (ROOT / 'README.md').read_text()


def date():
    return max(int(os.environ.get('SOURCE_DATE_EPOCH', EARLIEST)), EARLIEST)


def tag(library):
    """py3-none-manylinux_2_N_ARCH, by the latest version of a glibc symbol that the library needs."""
    command = ['readelf', '--version-info', library]
    needed = subprocess.run(command, check=True, capture_output=True, text=True)
    versions = [tuple(map(int, v.split('.'))) for v in re.findall(r'\bGLIBC_(2\.\d+)', needed.stdout)]
    return f'py3-none-manylinux_2_{max(versions)[1]}_{platform.machine()}'


def compiled(ready=None):
    """The folder of a build with library and package: one that is ready, or its own."""
    if ready:
        return ROOT / ready
    folder = ROOT / 'build' / 'wheel'
    off = ['TOOLS', 'TESTS', 'EXAMPLES', 'MANUAL', 'JAVA']
    options = [f'-DQVIMAGE_BUILD_{name}=OFF' for name in off] + ['-DQVIMAGE_BUILD_PYTHON=ON']
    for command in (['cmake', '-S', ROOT, '-B', folder, '-DCMAKE_BUILD_TYPE=Release', *options],
                    ['cmake', '--build', folder, '--parallel', os.environ.get('JOBS', str(os.cpu_count())),
                     '--target', 'qvimage', 'qvimage_python']):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode:
            raise SystemExit(done.stdout)
    return folder


class Wheel:
    """A wheel that is written: its files, and the record of them."""

    def __init__(self, path, info):
        self.zip, self.info, self.record = zipfile.ZipFile(path, 'w'), info, []

    def add(self, name, content, executable=False):
        data = content if isinstance(content, bytes) else content.encode()
        entry = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
        entry.compress_type = zipfile.ZIP_DEFLATED
        entry.external_attr = (0o755 if executable else 0o644) << 16
        self.zip.writestr(entry, data)
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).decode().rstrip('=')
        self.record.append(f'{name},sha256={digest},{len(data)}\n')

    def close(self):
        name = f'{self.info}/RECORD'
        self.record.append(f'{name},,\n')
        self.add(name, ''.join(self.record))
        self.zip.close()


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    folder = compiled((config_settings or {}).get('build'))
    library = next(folder.glob('libqvimage.so.*.*.*'))
    stripped = folder / f'libqvimage.so.{version().split(".")[0]}.stripped'
    shutil.copy(library, stripped)
    subprocess.run(['strip', '--strip-unneeded', stripped], check=True)
    name = f'{NAME}-{version()}-{tag(library)}.whl'
    wheel = Wheel(pathlib.Path(wheel_directory) / name, f'{NAME}-{version()}.dist-info')
    for path in sorted((folder / 'python' / NAME).iterdir()):
        if path.is_file():
            wheel.add(f'{NAME}/{path.name}', path.read_bytes())
    wheel.add(f'{NAME}/{stripped.stem}', stripped.read_bytes(), executable=True)
    wheel.add(f'{wheel.info}/LICENSE', (ROOT / 'LICENSE').read_bytes())
    wheel.add(f'{wheel.info}/METADATA', metadata())
    lines = ('Wheel-Version: 1.0', 'Generator: qvimage', 'Root-Is-Purelib: false', f'Tag: {tag(library)}', '')
    wheel.add(f'{wheel.info}/WHEEL', '\n'.join(lines))
    wheel.close()
    return name


def sources():
    """What belongs to the project: git's files, or all where the sources came without git."""
    if (ROOT / '.git').exists():
        listed = subprocess.run(['git', 'ls-files', '-z'], cwd=ROOT, check=True, stdout=subprocess.PIPE)
        return sorted(n for n in listed.stdout.decode().split('\0') if n and (ROOT / n).is_file())
    left_out = ('build', 'PKG-INFO')
    names = (p.relative_to(ROOT) for p in ROOT.rglob('*') if p.is_file())
    return sorted(str(n) for n in names if n.parts[0] not in left_out and '__pycache__' not in n.parts)


def build_sdist(sdist_directory, config_settings=None):
    base = f'{NAME}-{version()}'
    contents = {name: (ROOT / name).read_bytes() for name in sources()}
    contents['PKG-INFO'] = metadata().encode()
    path = pathlib.Path(sdist_directory) / f'{base}.tar.gz'
    with open(path, 'wb') as file, gzip.GzipFile('', 'wb', fileobj=file, mtime=date()) as packed, \
            tarfile.open(fileobj=packed, mode='w', format=tarfile.PAX_FORMAT) as tar:
        for name, data in contents.items():
            entry = tarfile.TarInfo(f'{base}/{name}')
            entry.size, entry.mtime = len(data), date()
            entry.mode = 0o755 if os.access(ROOT / name, os.X_OK) else 0o644
            tar.addfile(entry, io.BytesIO(data))
    return path.name
