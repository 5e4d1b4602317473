"""What the system tells of other processes."""

from pathlib import Path


def children(pid):
    """The child processes of a process."""
    return Path(f"/proc/{pid}/task/{pid}/children").read_text().split()


def memory_of(pid):
    """All memory of the process, region by region."""
    regions = Path(f"/proc/{pid}/maps").read_text().splitlines()
    with open(f"/proc/{pid}/mem", "rb", buffering=0) as memory:
        for region in regions:
            start, end = (int(number, 16) for number in region.split()[0].split("-"))
            is_of_kernel = "[v" in region
            if region.split()[1].startswith("r") and not is_of_kernel:
                memory.seek(start)
                yield memory.read(end - start)
