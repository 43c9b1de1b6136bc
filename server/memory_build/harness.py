"""Runs the tests of one approach. The line that calls `main` is put behind this text."""

import copy
import json
import sys


class ListNode:
    def __init__(self, val=0, next=None):
        self.val = val
        self.next = next


class TreeNode:
    def __init__(self, val=0, left=None, right=None):
        self.val = val
        self.left = left
        self.right = right


def linked_list(values):
    head = None
    for value in reversed(values):
        head = ListNode(value, head)
    return head


def values_of(head):
    values = []
    while head is not None:
        values.append(head.val)
        head = head.next
        if len(values) > 10_000:
            raise ValueError("the list is a ring")
    return values


def tree(values):
    nodes = [None if value is None else TreeNode(value) for value in values]
    waiting = iter(nodes[1:])
    for node in nodes:
        if node is not None:
            node.left = next(waiting, None)
            node.right = next(waiting, None)
    return nodes[0] if nodes else None


MAKERS = {"linked list": linked_list, "tree": tree, "value": copy.deepcopy}
READERS = {"linked list": values_of, "": lambda value: value}


def ordered(value, order):
    if order == "anyInside" and isinstance(value, list):
        value = [sorted(item) if isinstance(item, list) else item for item in value]
    if order != "exact" and isinstance(value, list):
        value = sorted(value)
    return value


def same(left, right):
    """Equal in type as well: 1 is not True."""
    return json.dumps(left) == json.dumps(right)


def call_function(entry, namespace, job, arguments):
    makers = job["takes"] + ["value"] * (len(arguments) - len(job["takes"]))
    made = [MAKERS[maker](argument) for maker, argument in zip(makers, arguments)]
    return READERS[job["gives"]](getattr(namespace["Solution"](), entry)(*made))


def call_class(entry, namespace, calls):
    results = [None]
    instance = namespace[entry](*calls[0][1:])
    for name, *arguments in calls[1:]:
        results.append(getattr(instance, name)(*arguments))
    return results


def main(job):
    namespace = {"ListNode": ListNode, "TreeNode": TreeNode}
    exec(compile(job["code"], "approach", "exec"), namespace)
    failed = []
    for number, (arguments, expected) in enumerate(job["tests"], start=1):
        try:
            if job["isClass"]:
                result = call_class(job["entry"], namespace, arguments)
            else:
                result = call_function(job["entry"], namespace, job, arguments)
            passed = same(ordered(result, job["order"]), ordered(expected, job["order"]))
        except Exception:
            passed = False
        if not passed:
            failed.append(number)
    print(json.dumps({"run": len(job["tests"]), "failed": failed}))
    sys.stdout.flush()
