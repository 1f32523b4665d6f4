Trailbook:AddRoute("Old Coast Road", {
    "Start at the lighthouse, at low tide.",
    "Keep the cliffs on your left hand.",
    "Ask the keeper for the key of the sea gate.",
})
