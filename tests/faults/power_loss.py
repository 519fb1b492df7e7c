"""Records what a run does to its files, and makes from it the states in which a machine that loses
its power could leave them.

What was synced is there, and of the rest anything may be. A state is either `strict`: each new,
changed or removed name counts only once its directory was synced; or `ordered`, as on common
journaling file systems: names change in the order of the calls, and any sync takes all earlier names
along. In both, of data that was not synced any blocks may be missing. Files ending in -shm hold
nothing that must last and are dropped.
"""
import hashlib
import os
import random

DIRECTORY = "directory"
_O_CREAT, _O_TRUNC, _AT_REMOVEDIR = 0o100, 0o1000, 0x200


class Recorder:
    """The functions `at_call` and `after_call` for the tracer. `log` is the list of operations."""

    def __init__(self, root):
        self.root, self.log, self.names, self.files, self.base = os.fspath(root), [], {}, {}, {}
        self._objects = 0
        for folder, _, files in os.walk(self.root):
            self.names[self._relative(folder)] = DIRECTORY
            for file in files:
                path = os.path.join(folder, file)
                if not path.endswith("-shm"):
                    with open(path, "rb") as content:
                        self.base[self._new_object(path)] = content.read()
        self.base_names = dict(self.names)

    def _relative(self, path):
        return os.path.relpath(path, self.root)

    def _ours(self, path):
        inside = path is not None and (path + "/").startswith(self.root + "/")
        return inside and not path.endswith("-shm")

    def _new_object(self, path):
        self._objects += 1
        self.names[self._relative(path)] = self._objects
        self.files[os.stat(path).st_ino] = self._objects
        return self._objects

    def _object(self, call):
        """The file, or the path of the directory, behind the call's descriptor; or None."""
        link = f"/proc/{call.pid}/fd/{call.arguments[0]}"
        if os.path.isdir(link):
            path = os.readlink(link)
            return self._relative(path) if self._ours(path) else None
        try:
            return self.files.get(os.stat(link).st_ino)
        except FileNotFoundError:
            return None

    def at_call(self, call):
        path = call.path()
        if self._ours(path):
            call.note = (path, os.path.lexists(path))
        if call.name.startswith("rename"):
            call.note = (path, call.second_path())
            if self._ours(path) != self._ours(call.note[1]):
                raise RuntimeError(f"a rename across the border of the host: {call.note}")

    def after_call(self, call):
        if call.result < 0:
            return
        if call.name in ("write", "pwrite64", "writev", "pwritev", "pwritev2", "sendfile",
                         "copy_file_range"):
            self._written(call)
        elif call.name in ("fsync", "fdatasync"):
            target = self._object(call)
            if target is not None:
                self.log.append(("sync", target))
        elif call.name in ("syncfs", "sync"):
            self.log.append(("sync all",))
        elif call.name == "ftruncate":
            if self._object(call) is not None:
                self.log.append(("size", self._object(call), call.arguments[1]))
        elif call.name in ("fallocate", "truncate", "link", "linkat", "symlink") and call.note:
            raise RuntimeError(f"{call.name} is not known to the replay")
        elif call.note and self._ours(call.note[0]):
            self._named(call)

    def _written(self, call):
        target = None if call.name == "copy_file_range" else self._object(call)
        if target is None:
            return
        descriptor = f"/proc/{call.pid}/fd/{call.arguments[0]}"
        if call.name.startswith("pwrite"):
            offset = call.arguments[3]
        else:
            with open(f"/proc/{call.pid}/fdinfo/{call.arguments[0]}") as info:
                offset = int(info.readline().split()[1]) - call.result
        with open(descriptor, "rb") as file:  # still stopped behind its write
            file.seek(offset)
            self.log.append(("data", target, offset, file.read(call.result)))

    def _named(self, call):
        path, known = call.note
        name = self._relative(path)
        if call.name.startswith("rename"):
            changes = {name: None, self._relative(known): self.names[name]}
        elif call.name.startswith("mkdir"):
            changes = {name: DIRECTORY}
        elif call.name.startswith(("unlink", "rmdir")):
            changes = {name: None}
        elif call.name.startswith(("open", "creat")):
            flags = {"open": 1, "openat": 2}.get(call.name)
            flags = call.arguments[flags] if flags else _O_CREAT | _O_TRUNC
            if flags & _O_CREAT and not known:
                changes = {name: self._new_object(path)}
            elif flags & _O_TRUNC and isinstance(self.names.get(name), int):
                self.log.append(("size", self.names[name], 0))
                return
            else:
                return
        else:
            return
        self.log.append(("names", changes))
        for each, value in changes.items():
            self.names[each] = value


def _apply(content, change, kept=None):
    """Makes the change in the content; of a write only the data in the ranges `kept`."""
    if change[0] == "size":
        content[:] = content[:change[2]].ljust(change[2], b"\0")
        return
    for start, end in [(0, len(change[3]))] if kept is None else kept:
        at = change[2] + start
        content.extend(bytes(max(0, at - len(content))))
        content[at:at + end - start] = change[3][start:end]


def _blocks(change, size):
    """The ranges of a write's data that lie in one block of the disk each."""
    start, ranges = 0, []
    while start < len(change[3]):
        end = min(len(change[3]), start + size - (change[2] + start) % size)
        ranges.append((start, end))
        start = end
    return ranges


def state(recorder, seed, cut=None):
    """A state that may be found after the power failed: the operations that had happened, and its
    files, content by relative path, or DIRECTORY."""
    choice = random.Random(seed)
    ordered = choice.random() < 0.5
    if cut is None:
        cut = choice.randint(0, len(recorder.log))
    names, pending_names = dict(recorder.base_names), []
    contents, pending_data = {}, {}

    def content_of(target):
        if target not in contents:
            contents[target] = bytearray(recorder.base.get(target, b""))
        return contents[target]

    def settle_names(wanted=lambda name: True):
        for changes in list(pending_names):
            if any(wanted(name) for name in changes):
                names.update(changes)
                pending_names.remove(changes)

    def settle_data(target):
        for change in pending_data.pop(target, []):
            _apply(content_of(target), change)

    for operation in recorder.log[:cut]:
        if operation[0] == "names":
            pending_names.append(operation[1])
        elif operation[0] in ("data", "size"):
            pending_data.setdefault(operation[1], []).append(operation)
        elif operation[0] == "sync all":
            settle_names()
            for target in list(pending_data):
                settle_data(target)
        elif operation[0] == "sync":
            if isinstance(operation[1], int):
                settle_data(operation[1])
            else:
                settle_names(lambda name, at=operation[1]: (os.path.dirname(name) or ".") == at)
            if ordered:
                settle_names()

    likely = choice.choice([0, 1, choice.random()])
    if ordered:
        for changes in pending_names[:round(len(pending_names) * likely)]:
            names.update(changes)
    else:
        for changes in pending_names:
            if choice.random() < likely:
                names.update(changes)
    likely, block = choice.choice([0, 1, choice.random()]), choice.choice([512, 4096])
    for target, changes in pending_data.items():
        content = content_of(target)
        for change in changes:
            if change[0] == "size":
                if choice.random() < likely:
                    _apply(content, change)
                continue
            _apply(content, change,
                   [each for each in _blocks(change, block) if choice.random() < likely])
            if choice.random() < 0.2:  # the length is there before the data
                content.extend(bytes(max(0, change[2] + len(change[3]) - len(content))))

    tree = {}
    for name, value in sorted(names.items()):
        parent = os.path.dirname(name) or "."
        if value is None or (name != "." and tree.get(parent) != DIRECTORY):
            continue
        tree[name] = DIRECTORY if value == DIRECTORY else content_of(value)
    return cut, tree


def digest(cut_mark, tree):
    """The same for the same state."""
    text = hashlib.sha256(repr(cut_mark).encode())
    for name, value in sorted(tree.items()):
        text.update(f"{name}\0{len(value)}\0".encode())
        text.update(b"/" if value == DIRECTORY else value)
    return text.digest()


def write_tree(tree, root):
    """Makes these files in the empty directory `root`."""
    for name, value in sorted(tree.items()):
        path = os.path.join(root, name)
        if value == DIRECTORY:
            os.makedirs(path, exist_ok=True)
        else:
            with open(path, "wb") as file:
                file.write(value)
