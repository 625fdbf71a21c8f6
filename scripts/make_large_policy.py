#!/usr/bin/env python3
"""Writes a large policy file, for measurements.

Usage: make_large_policy.py [--targets N] [--policies N] [--rules N] [--classes N] [--events N]

The same numbers give the same file. Rules are spread evenly over the policy-maps, up to ten per event; each has one of
the class-maps, with two filters, in turn, and two actions. Targets have two policies each and their own attributes. The
events of the scenario cycle through the targets, and each first changes one attribute.
"""
import argparse


def parse_arguments():
    parser = argparse.ArgumentParser(description="Writes a large policy file to standard output.")
    parser.add_argument("--targets", type=int, default=2000)
    parser.add_argument("--policies", type=int, default=500)
    parser.add_argument("--rules", type=int, default=5000, help="in all policies together")
    parser.add_argument("--classes", type=int, default=1000)
    parser.add_argument("--events", type=int, default=0, help="in the scenario")
    arguments = parser.parse_args()
    if min(arguments.targets, arguments.policies, arguments.classes) < 1:
        parser.error("at least one target, one policy and one class")
    return arguments


RULES_IN_EVENT = 10


def class_map(number):
    print(f"  class-{number}:")
    print("    filters:")
    print(f"      - {{attribute: plan, prefix: plan-{number % 10}}}")
    print(f"      - {{attribute: volume, range: {{min: {number % 100}}}}}")


def policy_map(number, rules, classes):
    print(f"  policy-{number}:")
    print("    events:")
    for event in range(max(1, -(-rules // RULES_IN_EVENT))):
        in_event = min(RULES_IN_EVENT, rules - event * RULES_IN_EVENT)
        print(f"      event-{event}:")
        print("        match: first")
        print("        rules:" if in_event > 0 else "        rules: []")
        for rule in range(in_event):
            # A class-map can have one rule in an event.
            name = (number * 7 + event * RULES_IN_EVENT + rule) % max(classes, RULES_IN_EVENT)
            print(f"          - number: {rule + 1}")
            print(f"            class: class-{name}")
            print(f"            actions: [{{set: {{queue: {rule}}}}}, permit]")


def target(number, policies):
    first = number % policies
    second = (number * 3 + 1) % policies
    active = [first] if first == second else [first, second]
    print(f"  target-{number}:")
    print(f"    attributes: {{plan: plan-{number % 12}, volume: {number % 128}}}")
    print(f"    policies: [{', '.join(f'policy-{policy}' for policy in active)}]")


def main():
    wanted = parse_arguments()
    classes = max(wanted.classes, RULES_IN_EVENT)
    print("domains:\n  subscriber:")
    print("class-maps:")
    for number in range(classes):
        class_map(number)
    print("policy-maps:")
    for number in range(wanted.policies):
        rules = wanted.rules // wanted.policies + (number < wanted.rules % wanted.policies)
        policy_map(number, rules, classes)
    print("targets:")
    for number in range(wanted.targets):
        target(number, wanted.policies)
    if wanted.events:
        print("scenario:")
    for number in range(wanted.events):
        print(f"  - {{event: event-0, target: target-{number % wanted.targets}, set: {{volume: {number % 128}}}}}")


main()
