"""Calls between a camera and a viewer in network namespaces of their own, joined by an emulated link."""
